#include "log/writing/gateway_log_event.h"

#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <utility>

namespace gateway::log {

namespace {

constexpr int kActionCount = 55;

/// Every action with the word that the log files hold.
constexpr std::pair<GatewayLogAction, const char *> kActions[] = {
    {GatewayLogAction::listenerStartRequested, "listener_start_requested"},
    {GatewayLogAction::listenerStartSucceeded, "listener_start_succeeded"},
    {GatewayLogAction::listenerStartFailed, "listener_start_failed"},
    {GatewayLogAction::listenerStopped, "listener_stopped"},
    {GatewayLogAction::listenerIncomingPathResolutionFailed, "listener_incoming_path_resolution_failed"},
    {GatewayLogAction::associationStarted, "association_started"},
    {GatewayLogAction::associationCompleted, "association_completed"},
    {GatewayLogAction::associationFailed, "association_failed"},
    {GatewayLogAction::fileReceivedCallback, "file_received_callback"},
    {GatewayLogAction::importAttempted, "import_attempted"},
    {GatewayLogAction::importSucceeded, "import_succeeded"},
    {GatewayLogAction::importFailed, "import_failed"},
    {GatewayLogAction::incomingFileDeleted, "incoming_file_deleted"},
    {GatewayLogAction::uploadRunRequested, "upload_run_requested"},
    {GatewayLogAction::uploadRunStarted, "upload_run_started"},
    {GatewayLogAction::uploadRunFinished, "upload_run_finished"},
    {GatewayLogAction::uploadRunRequeued, "upload_run_requeued"},
    {GatewayLogAction::uploadCandidateSelected, "upload_candidate_selected"},
    {GatewayLogAction::uploadCandidateFileMissing, "upload_candidate_file_missing"},
    {GatewayLogAction::uploadAttemptStarted, "upload_attempt_started"},
    {GatewayLogAction::uploadAttemptProgress, "upload_attempt_progress"},
    {GatewayLogAction::uploadAttemptSucceeded, "upload_attempt_succeeded"},
    {GatewayLogAction::uploadAttemptFailed, "upload_attempt_failed"},
    {GatewayLogAction::uploadResultRecorded, "upload_result_recorded"},
    {GatewayLogAction::uploadStateRecovered, "upload_state_recovered"},
    {GatewayLogAction::uploadIterationReconciled, "upload_iteration_reconciled"},
    {GatewayLogAction::localRetentionCleanupCompleted, "local_retention_cleanup_completed"},
    {GatewayLogAction::localRetentionCleanupFailed, "local_retention_cleanup_failed"},
    {GatewayLogAction::quorinCloudQidoFetchStarted, "quorin_cloud_qido_fetch_started"},
    {GatewayLogAction::quorinCloudQidoFetchSucceeded, "quorin_cloud_qido_fetch_succeeded"},
    {GatewayLogAction::quorinCloudQidoFetchFailed, "quorin_cloud_qido_fetch_failed"},
    {GatewayLogAction::quorinCloudDeleteBatchStarted, "quorin_cloud_delete_batch_started"},
    {GatewayLogAction::quorinCloudDeleteBatchCompleted, "quorin_cloud_delete_batch_completed"},
    {GatewayLogAction::quorinCloudDeleteBatchFailed, "quorin_cloud_delete_batch_failed"},
    {GatewayLogAction::quorinCloudDeleteStudyStarted, "quorin_cloud_delete_study_started"},
    {GatewayLogAction::quorinCloudDeleteStudySucceeded, "quorin_cloud_delete_study_succeeded"},
    {GatewayLogAction::quorinCloudDeleteStudyFailed, "quorin_cloud_delete_study_failed"},
    {GatewayLogAction::quorinCloudSeriesFetchStarted, "quorin_cloud_series_fetch_started"},
    {GatewayLogAction::quorinCloudSeriesFetchSucceeded, "quorin_cloud_series_fetch_succeeded"},
    {GatewayLogAction::quorinCloudSeriesFetchFailed, "quorin_cloud_series_fetch_failed"},
    {GatewayLogAction::quorinCloudSeriesDeleteBatchStarted, "quorin_cloud_series_delete_batch_started"},
    {GatewayLogAction::quorinCloudSeriesDeleteBatchCompleted, "quorin_cloud_series_delete_batch_completed"},
    {GatewayLogAction::quorinCloudSeriesDeleteBatchFailed, "quorin_cloud_series_delete_batch_failed"},
    {GatewayLogAction::quorinCloudSeriesDeleteItemStarted, "quorin_cloud_series_delete_item_started"},
    {GatewayLogAction::quorinCloudSeriesDeleteItemSucceeded, "quorin_cloud_series_delete_item_succeeded"},
    {GatewayLogAction::quorinCloudSeriesDeleteItemFailed, "quorin_cloud_series_delete_item_failed"},
    {GatewayLogAction::updaterStarted, "updater_started"},
    {GatewayLogAction::updaterCheckRequested, "updater_check_requested"},
    {GatewayLogAction::versionPolicyCheckStarted, "version_policy_check_started"},
    {GatewayLogAction::versionPolicyCheckSucceeded, "version_policy_check_succeeded"},
    {GatewayLogAction::versionPolicyCheckFailed, "version_policy_check_failed"},
    {GatewayLogAction::versionPolicyCriticalUpdateDetected, "version_policy_critical_update_detected"},
    {GatewayLogAction::versionPolicyNonCriticalUpdateDetected, "version_policy_non_critical_update_detected"},
    {GatewayLogAction::versionPolicyNoUpdate, "version_policy_no_update"},
    {GatewayLogAction::versionPolicyOfflineWarningShown, "version_policy_offline_warning_shown"},
};

GatewayLogEvent sampleEvent()
{
    GatewayLogEvent event;
    event.eventId = QStringLiteral("0F0E0D0C-0000-4000-8000-000000000001");
    event.timestamp = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    event.level = GatewayLogLevel::warning;
    event.category = GatewayLogCategory::send;
    event.action = GatewayLogAction::uploadAttemptFailed;
    event.outcome = GatewayLogOutcome::inProgress;
    return event;
}

} // namespace

TEST(GatewayLogAction, HasAWordOfItsOwnForEachOfItsCases)
{
    std::set<QString> words;

    for (int index = 0; index < kActionCount; ++index) {
        const auto action = static_cast<GatewayLogAction>(index);
        const QLatin1StringView word = rawValue(action);
        words.insert(word);
        EXPECT_EQ(logAction({word.data(), static_cast<std::size_t>(word.size())}), action);
    }

    EXPECT_EQ(words.size(), static_cast<std::size_t>(kActionCount));
}

TEST(GatewayLogAction, SpellsItsCasesInLowerSnakeCase)
{
    ASSERT_EQ(std::size(kActions), static_cast<std::size_t>(kActionCount));
    for (const auto &[action, word] : kActions) {
        EXPECT_EQ(rawValue(action), QLatin1String(word));
    }
}

TEST(GatewayLogCategory, KeepsTheSpellingOfItsCases)
{
    EXPECT_EQ(rawValue(GatewayLogCategory::uploadQueue), QStringLiteral("uploadQueue"));
    EXPECT_EQ(rawValue(GatewayLogCategory::quorinCloud), QStringLiteral("quorinCloud"));
    EXPECT_EQ(logCategory("uploadQueue"), GatewayLogCategory::uploadQueue);
    EXPECT_EQ(logCategory("upload_queue"), std::nullopt);
    EXPECT_EQ(logCategory("UpdateR"), std::nullopt);
}

TEST(GatewayLogLevel, IsFoundByItsWordOnly)
{
    EXPECT_EQ(logLevel("warning"), GatewayLogLevel::warning);
    EXPECT_EQ(logLevel(""), std::nullopt);
    EXPECT_EQ(logLevel("fatal"), std::nullopt);
    EXPECT_EQ(logOutcome("inProgress"), std::nullopt);
    EXPECT_EQ(logOutcome("in_progress"), GatewayLogOutcome::inProgress);
}

TEST(TextForm, OfAnEventWithoutOptionalsHasThreePieces)
{
    EXPECT_EQ(textForm(sampleEvent()),
              QStringLiteral("action=upload_attempt_failed outcome=in_progress "
                             "eventId=0F0E0D0C-0000-4000-8000-000000000001"));
}

TEST(TextForm, WritesInProgressInSnakeCase)
{
    GatewayLogEvent event = sampleEvent();
    event.outcome = GatewayLogOutcome::inProgress;

    EXPECT_TRUE(textForm(event).contains(QStringLiteral(" outcome=in_progress ")));
}

TEST(TextForm, OfAFullEventHasItsPiecesInOrder)
{
    GatewayLogEvent event = sampleEvent();
    event.error = GatewayLogError{QStringLiteral("AFError"), -9, QStringLiteral("redacted")};
    event.attempt = 1;
    event.fileSizeBytes = 0;
    event.fileHash = QStringLiteral("00ff00ff00ff00ff");
    event.assocHash = QStringLiteral("1111222233334444");
    event.correlationId = QStringLiteral("RUN");
    event.details = QMap<QString, QString>{{QStringLiteral("k"), QStringLiteral("v w")}};

    EXPECT_EQ(textForm(event),
              QStringLiteral("action=upload_attempt_failed outcome=in_progress "
                             "eventId=0F0E0D0C-0000-4000-8000-000000000001 correlationId=RUN "
                             "assocHash=1111222233334444 fileHash=00ff00ff00ff00ff fileSizeBytes=0 attempt=1 "
                             "details={k=v w} error={domain=AFError,code=-9,message=redacted}"));
}

TEST(TextForm, SortsTheDetailsByKeyWhicheverOrderTheMapWasFilledIn)
{
    GatewayLogEvent event = sampleEvent();
    QMap<QString, QString> details;
    details.insert(QStringLiteral("b"), QStringLiteral("2"));
    details.insert(QStringLiteral("a"), QStringLiteral("1"));
    event.details = details;

    EXPECT_TRUE(textForm(event).endsWith(QStringLiteral(" details={a=1,b=2}")));
}

TEST(TextForm, LeavesOutAnEmptyMapOfDetails)
{
    GatewayLogEvent event = sampleEvent();
    event.details.emplace();

    EXPECT_FALSE(textForm(event).contains(QStringLiteral("details")));
}

} // namespace gateway::log
