#include "upload/cloud_terms_follow_up.h"

#include "cloud_client/quorin_error.h"
#include "core/notification_names.h"

#include <chrono>

namespace gateway::upload {

namespace {

// One prompt is enough for the whole page of files that fails with it.
constexpr std::chrono::seconds kCoolDown{20};

/// Wide on purpose: the cloud's answer about the terms decides.
bool looksLikeTermsRefusal(const std::exception &error)
{
    constexpr int kFirstClientError = 400;
    constexpr int kLastClientError = 499;
    if (dynamic_cast<const cloud_client::QrnErrorResponse *>(&error)) {
        return true;
    }
    const auto *failed = dynamic_cast<const cloud_client::AFError *>(&error);
    return failed && failed->responseCode && *failed->responseCode >= kFirstClientError &&
           *failed->responseCode <= kLastClientError;
}

} // namespace

void CloudTermsFollowUp::checkTermsAfterUploadFailure(const std::exception &error,
                                                      const QString &runId,
                                                      const QUrl &fileURL)
{
    if (looksLikeTermsRefusal(error) && m_gate.beginStatusCheck(kCoolDown)) {
        m_gate.endStatusCheck(promptIfRequired(runId, fileURL));
    }
}

/// \return true when the user was sent to the terms.
bool CloudTermsFollowUp::promptIfRequired(const QString &runId, const QUrl &fileURL) const
{
    cloud_client::QrnQuorinCloudTermsStatusResponse status;
    try {
        status = m_collaborators.terms.status();
    } catch (const std::exception &) {
        return false; // the next failed upload asks again
    }
    if (!status.required) {
        return false;
    }
    m_collaborators.emitter.emit(
        {.level = log::GatewayLogLevel::warning,
         .category = log::GatewayLogCategory::send,
         .action = log::GatewayLogAction::uploadAttemptFailed,
         .outcome = log::GatewayLogOutcome::failed,
         .correlationId = runId,
         .fileURL = fileURL,
         .details = {{QStringLiteral("follow_up"), QStringLiteral("quorin_cloud_terms_required")},
                     {QStringLiteral("required_version"), status.requiredVersion}}});
    m_collaborators.main.post([&notifications = m_collaborators.notifications] {
        notifications.post(core::kOpenPreferences);
        notifications.post(core::kQuorinCloudTermsRequired);
    });
    return true;
}

} // namespace gateway::upload
