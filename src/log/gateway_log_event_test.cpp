#include "log/gateway_log_event.h"

#include <gtest/gtest.h>

#include <set>

namespace gateway::log {

namespace {

constexpr int kActionCount = 55;

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
    EXPECT_EQ(rawValue(GatewayLogAction::listenerStartRequested), QStringLiteral("listener_start_requested"));
    EXPECT_EQ(rawValue(GatewayLogAction::listenerIncomingPathResolutionFailed),
              QStringLiteral("listener_incoming_path_resolution_failed"));
    EXPECT_EQ(rawValue(GatewayLogAction::incomingFileDeleted), QStringLiteral("incoming_file_deleted"));
    EXPECT_EQ(rawValue(GatewayLogAction::uploadRunRequeued), QStringLiteral("upload_run_requeued"));
    EXPECT_EQ(rawValue(GatewayLogAction::uploadIterationReconciled),
              QStringLiteral("upload_iteration_reconciled"));
    EXPECT_EQ(rawValue(GatewayLogAction::localRetentionCleanupFailed),
              QStringLiteral("local_retention_cleanup_failed"));
    EXPECT_EQ(rawValue(GatewayLogAction::quorinCloudDeleteStudyFailed),
              QStringLiteral("quorin_cloud_delete_study_failed"));
    EXPECT_EQ(rawValue(GatewayLogAction::quorinCloudSeriesDeleteItemFailed),
              QStringLiteral("quorin_cloud_series_delete_item_failed"));
    EXPECT_EQ(rawValue(GatewayLogAction::versionPolicyOfflineWarningShown),
              QStringLiteral("version_policy_offline_warning_shown"));
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
