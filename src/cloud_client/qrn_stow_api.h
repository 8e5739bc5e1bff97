#pragma once

#include "cloud_client/cloud_session.h"
#include "cloud_client/http_message.h"
#include "platform/dicom/instance_identity.h"

#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QUrl>
#include <QtCore/QVariantMap>

namespace gateway::cloud_client {

class QuorinApiClient;

/// A file to upload, with a meta header that agrees with its dataset, and what it holds.
struct StowFile
{
    QUrl url;
    platform::InstanceIdentity identity;
};

/// Uploads of DICOM files.
///
/// Returning means that the server is proven to hold the instance of every file. The proof is the server's
/// answer naming it as stored, or as stored already; where a good answer can't be read, a query that finds
/// it. Everything else throws, and nothing that throws has to be lost: a file may be sent again.
///
/// Each call is of a session, in all its requests: none goes out once another one stands, or none.
///
/// Thread: any; calls block until the server has answered.
class QrnStowAPIProtocol
{
public:
    virtual ~QrnStowAPIProtocol() = default;

    /// Sends the files of a batch in one request, or in halves where the server finds it too large.
    ///
    /// A file that can't be read fails alone; the others still go.
    ///
    /// \param files  no two with the same instance UID: an answer could not tell them apart.
    /// \param progress  bytes of the request; called on this thread, never blocks. May be empty.
    /// \return the proven instances as a DICOM JSON dataset with ReferencedSOPSequence, whose items carry a
    ///         WarningReason where the server says that it had the instance before; see alreadyStoredIn.
    /// \throws QrnStowResponse   when some instances are not proven: ask its `names` for each file. Files
    ///                           that it doesn't name are proven.
    /// \throws QrnErrorResponse  the service refused all with words of its own.
    /// \throws AFError           nothing is proven: no answer, or a status without words.
    virtual QVariantMap upload(const CloudSession &session,
                               const QList<StowFile> &files,
                               const QString &deviceId,
                               const UploadProgressCallback &progress) = 0;

    /// Sends one file; otherwise the same.
    virtual QVariantMap upload(const CloudSession &session,
                               const StowFile &file,
                               const QString &deviceId,
                               const UploadProgressCallback &progressCompletion) = 0;

    /// Whether nothing takes images where the cloud's address leads: false where it does, and where nobody
    /// says. Throws nothing.
    virtual bool isWithoutStore(const CloudSession &session) = 0;

    /// Fetches the instance as the server holds it (PS3.18 10.4), for a look at what became of an upload.
    ///
    /// \param path   of the file that it is written to, readable by its owner alone; the caller's to remove,
    ///               also after an error.
    /// \param limit  bytes that it may have.
    /// \throws QrnErrorResponse, AFError  also where what came isn't one instance, or can't be written.
    virtual void retrieve(const CloudSession &session,
                          const platform::InstanceIdentity &identity,
                          const QString &path,
                          qint64 limit) = 0;

    /// Whether a query finds this very instance.
    /// \throws QrnErrorResponse, AFError  also where the service takes no queries.
    virtual bool isFound(const CloudSession &session, const platform::InstanceIdentity &identity) = 0;

    /// False where a query finds nothing, and not where it finds another instance than it asked for; throws
    /// the same.
    virtual bool mayHold(const CloudSession &session, const platform::InstanceIdentity &identity) = 0;

    /// Whether a query finds any instance of this one's series, both of which must be named; throws the same.
    virtual bool isSeriesFound(const CloudSession &session, const platform::InstanceIdentity &identity) = 0;
};

/// The instances of what `upload` returned that the server says it had before, in whatever version.
QSet<platform::InstanceUid> alreadyStoredIn(const QVariantMap &proven);

/// The uploads of the configured service, streamed from disk: memory doesn't grow with the files.
class QrnStowAPI final : public QrnStowAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnStowAPI(QuorinApiClient &client) : m_client(client) {}

    QVariantMap upload(const CloudSession &session,
                       const QList<StowFile> &files,
                       const QString &deviceId,
                       const UploadProgressCallback &progress) override;
    QVariantMap upload(const CloudSession &session,
                       const StowFile &file,
                       const QString &deviceId,
                       const UploadProgressCallback &progressCompletion) override;
    bool isWithoutStore(const CloudSession &session) override;
    void retrieve(const CloudSession &session,
                  const platform::InstanceIdentity &identity,
                  const QString &path,
                  qint64 limit) override;
    bool isFound(const CloudSession &session, const platform::InstanceIdentity &identity) override;
    bool mayHold(const CloudSession &session, const platform::InstanceIdentity &identity) override;
    bool isSeriesFound(const CloudSession &session, const platform::InstanceIdentity &identity) override;

private:
    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client
