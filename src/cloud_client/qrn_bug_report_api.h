#pragma once

#include "cloud_client/http_message.h"

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QUrl>

namespace gateway::cloud_client {

class QuorinApiClient;

/// A report of something that went wrong.
struct QrnBugReportRequest
{
    bool isReproducible = false;
    bool happenedDuringImport = false;
    bool happenedDuringOpening = false;
    QString description;
    QList<QUrl> attachments;
    QString deviceId;
};

/// Bug reports.
///
/// Thread: any; calls block.
class QrnBugReportAPIProtocol
{
public:
    virtual ~QrnBugReportAPIProtocol() = default;

    /// Sends a report with its files, streamed from disk.
    ///
    /// \param progress  called on this thread, never blocks. May be empty.
    /// \throws QrnErrorResponse, AFError  also when a file has gone or changes while it is being sent.
    /// \throws QrnNotOffered              where a plain archive stands behind the client.
    virtual void send(const QrnBugReportRequest &request, const UploadProgressCallback &progress) = 0;
};

/// Sends to the configured service.
class QrnBugReportAPI final : public QrnBugReportAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit QrnBugReportAPI(QuorinApiClient &client) : m_client(client) {}

    void send(const QrnBugReportRequest &request, const UploadProgressCallback &progress) override;

private:
    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client
