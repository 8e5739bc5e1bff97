#include "log/writing/gateway_log_event.h"

#include <QtCore/QStringList>

#include <algorithm>
#include <span>

namespace gateway::log {

namespace {

// The words stand in the order of the cases.
constexpr std::array<std::string_view, 4> kLevels = {"debug", "info", "warning", "error"};

constexpr std::array<std::string_view, 6> kCategories = {
    "listener", "receive", "send", "uploadQueue", "quorinCloud", "updater"};

constexpr std::array<std::string_view, 7> kOutcomes = {
    "started", "succeeded", "failed", "completed", "skipped", "queued", "in_progress"};

constexpr std::array<std::string_view, 55> kActions = {
    "listener_start_requested",
    "listener_start_succeeded",
    "listener_start_failed",
    "listener_stopped",
    "listener_incoming_path_resolution_failed",
    "association_started",
    "association_completed",
    "association_failed",
    "file_received_callback",
    "import_attempted",
    "import_succeeded",
    "import_failed",
    "incoming_file_deleted",
    "upload_run_requested",
    "upload_run_started",
    "upload_run_finished",
    "upload_run_requeued",
    "upload_candidate_selected",
    "upload_candidate_file_missing",
    "upload_attempt_started",
    "upload_attempt_progress",
    "upload_attempt_succeeded",
    "upload_attempt_failed",
    "upload_result_recorded",
    "upload_state_recovered",
    "upload_iteration_reconciled",
    "local_retention_cleanup_completed",
    "local_retention_cleanup_failed",
    "quorin_cloud_qido_fetch_started",
    "quorin_cloud_qido_fetch_succeeded",
    "quorin_cloud_qido_fetch_failed",
    "quorin_cloud_delete_batch_started",
    "quorin_cloud_delete_batch_completed",
    "quorin_cloud_delete_batch_failed",
    "quorin_cloud_delete_study_started",
    "quorin_cloud_delete_study_succeeded",
    "quorin_cloud_delete_study_failed",
    "quorin_cloud_series_fetch_started",
    "quorin_cloud_series_fetch_succeeded",
    "quorin_cloud_series_fetch_failed",
    "quorin_cloud_series_delete_batch_started",
    "quorin_cloud_series_delete_batch_completed",
    "quorin_cloud_series_delete_batch_failed",
    "quorin_cloud_series_delete_item_started",
    "quorin_cloud_series_delete_item_succeeded",
    "quorin_cloud_series_delete_item_failed",
    "updater_started",
    "updater_check_requested",
    "version_policy_check_started",
    "version_policy_check_succeeded",
    "version_policy_check_failed",
    "version_policy_critical_update_detected",
    "version_policy_non_critical_update_detected",
    "version_policy_no_update",
    "version_policy_offline_warning_shown",
};
static_assert(static_cast<std::size_t>(GatewayLogAction::versionPolicyOfflineWarningShown) + 1 ==
              kActions.size());

template <typename Case>
QLatin1StringView word(std::span<const std::string_view> words, Case value)
{
    const std::string_view text = words[static_cast<std::size_t>(value)];
    return {text.data(), static_cast<qsizetype>(text.size())};
}

template <typename Case>
std::optional<Case> find(std::span<const std::string_view> words, std::string_view raw)
{
    const auto found = std::ranges::find(words, raw);
    if (found == words.end()) {
        return std::nullopt;
    }
    return static_cast<Case>(found - words.begin());
}

QString detailsText(const QMap<QString, QString> &details)
{
    QStringList entries;
    entries.reserve(details.size());
    for (auto entry = details.begin(); entry != details.end(); ++entry) {
        entries.append(entry.key() + u'=' + entry.value());
    }
    return QStringLiteral("details={") + entries.join(u',') + u'}';
}

QString errorText(const GatewayLogError &error)
{
    return QStringLiteral("error={domain=") + error.domain + QStringLiteral(",code=") +
           QString::number(error.code) + QStringLiteral(",message=") + error.message + u'}';
}

} // namespace

QLatin1StringView rawValue(GatewayLogLevel level)
{
    return word(kLevels, level);
}

QLatin1StringView rawValue(GatewayLogCategory category)
{
    return word(kCategories, category);
}

QLatin1StringView rawValue(GatewayLogOutcome outcome)
{
    return word(kOutcomes, outcome);
}

QLatin1StringView rawValue(GatewayLogAction action)
{
    return word(kActions, action);
}

std::optional<GatewayLogLevel> logLevel(std::string_view raw)
{
    return find<GatewayLogLevel>(kLevels, raw);
}

std::optional<GatewayLogCategory> logCategory(std::string_view raw)
{
    return find<GatewayLogCategory>(kCategories, raw);
}

std::optional<GatewayLogOutcome> logOutcome(std::string_view raw)
{
    return find<GatewayLogOutcome>(kOutcomes, raw);
}

std::optional<GatewayLogAction> logAction(std::string_view raw)
{
    return find<GatewayLogAction>(kActions, raw);
}

QString textForm(const GatewayLogEvent &event)
{
    QStringList pieces;
    pieces.append(QStringLiteral("action=") + rawValue(event.action));
    pieces.append(QStringLiteral("outcome=") + rawValue(event.outcome));
    pieces.append(QStringLiteral("eventId=") + event.eventId);
    if (event.correlationId) {
        pieces.append(QStringLiteral("correlationId=") + *event.correlationId);
    }
    if (event.assocHash) {
        pieces.append(QStringLiteral("assocHash=") + *event.assocHash);
    }
    if (event.fileHash) {
        pieces.append(QStringLiteral("fileHash=") + *event.fileHash);
    }
    if (event.fileSizeBytes) {
        pieces.append(QStringLiteral("fileSizeBytes=") + QString::number(*event.fileSizeBytes));
    }
    if (event.attempt) {
        pieces.append(QStringLiteral("attempt=") + QString::number(*event.attempt));
    }
    if (event.details && !event.details->isEmpty()) {
        pieces.append(detailsText(*event.details));
    }
    if (event.error) {
        pieces.append(errorText(*event.error));
    }
    return pieces.join(u' ');
}

} // namespace gateway::log
