#pragma once

#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/main_executor.h"
#include "platform/notifications/notification_center.h"
#include "upload/quorin_cloud_terms_prompt_gate.h"
#include "upload/upload_ports.h"

namespace gateway::upload {

/// Asks the cloud, after an upload that smells of unaccepted terms, whether they are what it wants, and sends
/// the user to them, at most once in twenty seconds however many uploads fail together.
///
/// Owner: app, for as long as the upload coordinator, so that the wait spans runs. Thread: any.
class CloudTermsFollowUp final : public TermsFollowUp
{
public:
    /// All outlive this, and `notifications` the last block of `main`.
    struct Collaborators
    {
        cloud_client::QrnQuorinCloudTermsAPIProtocol &terms;
        log::StoreLogEmitter &emitter;
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        const platform::Clock &clock;
    };

    explicit CloudTermsFollowUp(const Collaborators &collaborators)
        : m_collaborators(collaborators), m_gate(collaborators.clock)
    {
    }

    void checkTermsAfterUploadFailure(const std::exception &error,
                                      const QString &runId,
                                      const QUrl &fileURL) override;

private:
    bool promptIfRequired(const QString &runId, const QUrl &fileURL) const;

    const Collaborators m_collaborators;
    QuorinCloudTermsPromptGate m_gate;
};

} // namespace gateway::upload
