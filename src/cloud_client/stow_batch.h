#pragma once

#include "cloud_client/http_message.h"
#include "cloud_client/multipart_body.h"
#include "cloud_client/qrn_stow_api.h"
#include "cloud_client/stow_answer.h"

#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

#include <exception>
#include <optional>

namespace gateway::cloud_client {

class QuorinApiClient;

/// One upload of one or more files, from looking at them to the proof of each.
///
/// Owner: the call that makes it. Thread: the caller's.
class StowBatch
{
public:
    StowBatch(QuorinApiClient &client,
              CloudSession session,
              const QList<StowFile> &files,
              QString deviceId,
              UploadProgressCallback progress);

    /// Does the whole upload; see QrnStowAPIProtocol.
    QVariantMap run();

private:
    struct File
    {
        QString path;
        platform::InstanceIdentity identity;
        BodyPart part;
        bool isReadable = false;
        bool isProven = false;
        bool isTaken = false;      // the server has it, and a query doesn't find it yet
        bool isFound = false;      // the server refused it, and a query finds some version of it
        bool wasThere = false;     // the server says that it had an instance of this UID before
        std::optional<int> reason; // the server's, when it refused
    };
    using Files = QList<File *>;

    static File examine(const StowFile &given);

    void send(Files files);
    void sendInHalves(const Files &files);

    /// Posts the files; those that turn out to have changed are taken off the list, to fail, and the others
    /// are posted again. Nothing when the request failed as a whole.
    std::optional<HttpResponse> attempt(Files &files);
    HttpResponse post(MultipartBody &body);
    void settle(const Files &files, const HttpResponse &response);
    void apply(const Files &files, const StowAnswer &answer);
    void proveByQuery(const Files &files, bool mayStoreLater);
    void settleConflict(const Files &files, const HttpResponse &response);
    void lookForUntold(const Files &files);
    void report(const UploadProgress &progress);
    void keepRefusal(const HttpResponse &response);
    void keepFirst(const std::exception_ptr &error);
    QVariantMap outcome() const;
    QSet<platform::InstanceUid> alreadyStored() const;
    QSet<platform::InstanceUid> those(bool File::*mark) const;
    QVariantMap provenInstances() const;

    QuorinApiClient &m_client;
    const CloudSession m_session; // all of an upload goes in it, and all that is asked about it
    const QString m_deviceId;
    const UploadProgressCallback m_progress;
    QList<File> m_files;
    QList<StowRefusal> m_strangers; // refusals that name no file of this upload
    std::exception_ptr m_error;     // the first failure of a whole request
    bool m_isUnreachable = false;   // no answer came: further requests would only wait for nothing
    bool m_wasSettled = false;      // at least one request was answered instance by instance
    qint64 m_total = 0;             // bytes of the first request
    qint64 m_settledBytes = 0;      // bytes of the requests that are over
    qint64 m_reported = 0;
};

} // namespace gateway::cloud_client
