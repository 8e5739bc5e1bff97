#include "upload/gateway_auto_delete_cleanup_service.h"

#include "core/retention_policy.h"
#include "core/settings.h"
#include "index/testing/temporary_index.h"
#include "log/writing/testing/recording_log.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "upload/retention_cutoff.h"

#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace gateway::upload {

namespace {

using core::GatewayAutoDeleteMode;
using index::LocalPruneResult;
using log::GatewayLogAction;
using Service = GatewayAutoDeleteCleanupService;

const QString kTrigger = QStringLiteral("app_launch");

/// A service with a pruner that a test plays.
class Cleanup : public ::testing::Test
{
protected:
    Cleanup() { m_service = std::make_unique<Service>(collaborators()); }

    std::optional<LocalPruneResult> perform(const std::optional<QDateTime> &overrideCutoff = std::nullopt)
    {
        const auto result = m_service->performCleanup(kTrigger, std::nullopt, overrideCutoff);
        m_main.drain();
        return result;
    }

    Service::Collaborators collaborators()
    {
        return {m_emitter,
                m_main,
                [this](const QDateTime &now) {
                    m_askedFor = now;
                    return m_cutoff;
                },
                [this](const QDateTime &cutoff) {
                    m_pruned.push_back(cutoff);
                    if (m_whilePruning) {
                        m_whilePruning();
                    }
                    return m_result;
                },
                [this] { ++m_refreshes; },
                [this] { return m_clock.now(); },
                [this] { return m_isClockBelieved; }};
    }

    std::vector<log::GatewayLogEvent> events() const
    {
        return m_log.events(GatewayLogAction::localRetentionCleanupCompleted);
    }

    /// A detail of the first event.
    QString detail(const QString &key) const
    {
        return events().front().details.value_or(QMap<QString, QString>()).value(key);
    }

    platform::MainExecutor m_main;
    platform::testing::ManualClock m_clock;
    log::testing::RecordingLog m_log;
    log::StoreLogEmitter m_emitter{m_log, m_clock};
    std::optional<QDateTime> m_cutoff = QDateTime(QDate(2025, 12, 1), QTime(12, 0), Qt::UTC);
    LocalPruneResult m_result;
    std::function<void()> m_whilePruning;
    std::optional<QDateTime> m_askedFor;
    std::vector<QDateTime> m_pruned;
    bool m_isClockBelieved = true;
    int m_refreshes = 0;
    std::unique_ptr<Service> m_service;
};

} // namespace

TEST_F(Cleanup, PrunesWhatIsOlderThanTheCutoffForNow)
{
    EXPECT_EQ(perform(), LocalPruneResult{});

    EXPECT_EQ(m_askedFor, m_clock.now());
    EXPECT_EQ(m_pruned, std::vector{*m_cutoff});
}

TEST_F(Cleanup, WithoutCutoffLogsNothingPrunesNothingAndMayRunAgain)
{
    const std::optional<QDateTime> cutoff = std::exchange(m_cutoff, std::nullopt);

    EXPECT_EQ(perform(), std::nullopt);
    EXPECT_TRUE(m_pruned.empty());
    EXPECT_TRUE(events().empty());

    m_cutoff = cutoff;
    EXPECT_NE(perform(), std::nullopt);
}

TEST_F(Cleanup, TellsWhatItDid)
{
    m_result = {7, 5, 3, 2, 4, 0};

    m_service->performCleanup(QStringLiteral("upload_success"), QStringLiteral("run-1"), std::nullopt);

    ASSERT_EQ(events().size(), 1U);
    const log::GatewayLogEvent event = events().front();
    EXPECT_EQ(event.level, log::GatewayLogLevel::info);
    EXPECT_EQ(event.category, log::GatewayLogCategory::uploadQueue);
    EXPECT_EQ(event.outcome, log::GatewayLogOutcome::completed);
    EXPECT_EQ(event.correlationId, QStringLiteral("run-1"));
    EXPECT_EQ(event.fileHash, std::nullopt);
    EXPECT_EQ(event.fileSizeBytes, std::nullopt);
    EXPECT_EQ(event.details,
              (QMap<QString, QString>{{QStringLiteral("trigger"), QStringLiteral("upload_success")},
                                      {QStringLiteral("eligible_images"), QStringLiteral("7")},
                                      {QStringLiteral("deleted_images"), QStringLiteral("5")},
                                      {QStringLiteral("deleted_series"), QStringLiteral("3")},
                                      {QStringLiteral("deleted_studies"), QStringLiteral("2")},
                                      {QStringLiteral("deleted_files"), QStringLiteral("4")},
                                      {QStringLiteral("failed_images"), QStringLiteral("0")}}));
}

TEST_F(Cleanup, IsHeldBackWhileTheClockIsInDoubtAndSaysSoOnce)
{
    m_isClockBelieved = false;

    EXPECT_EQ(perform(), std::nullopt);
    EXPECT_EQ(perform(), std::nullopt);

    EXPECT_TRUE(m_pruned.empty());
    EXPECT_TRUE(m_service->isHeldBack());
    ASSERT_EQ(events().size(), 1U);
    EXPECT_EQ(events().front().outcome, log::GatewayLogOutcome::skipped);
    EXPECT_EQ(events().front().level, log::GatewayLogLevel::warning);
    EXPECT_EQ(detail(QStringLiteral("reason")), QStringLiteral("clock_in_doubt"));
    m_isClockBelieved = true;
    EXPECT_TRUE(perform());
    EXPECT_FALSE(m_service->isHeldBack());
    EXPECT_EQ(m_pruned.size(), 1U);
}

TEST_F(Cleanup, WithNothingEligibleTellsZerosAndCausesNoRefresh)
{
    EXPECT_EQ(perform(), LocalPruneResult{});

    ASSERT_EQ(events().size(), 1U);
    EXPECT_EQ(events().front().level, log::GatewayLogLevel::info);
    EXPECT_EQ(events().front().correlationId, std::nullopt);
    for (const char *key : {"eligible_images",
                            "deleted_images",
                            "deleted_series",
                            "deleted_studies",
                            "deleted_files",
                            "failed_images"}) {
        EXPECT_EQ(detail(QString::fromLatin1(key)), QStringLiteral("0")) << key;
    }
    EXPECT_EQ(m_refreshes, 0);
}

TEST_F(Cleanup, ThatFailedIsAWarning)
{
    m_result = {7, 0, 0, 0, 0, 7};

    EXPECT_EQ(perform(), m_result);

    ASSERT_EQ(events().size(), 1U);
    EXPECT_EQ(events().front().level, log::GatewayLogLevel::warning);
    EXPECT_EQ(detail(QStringLiteral("failed_images")), QStringLiteral("7"));
    EXPECT_EQ(m_refreshes, 0);
}

TEST_F(Cleanup, RefreshesTheFiguresForAnyOfTheFourCounts)
{
    int refreshes = 0;
    for (const LocalPruneResult &result : {LocalPruneResult{.deletedImageCount = 1},
                                           LocalPruneResult{.deletedSeriesCount = 1},
                                           LocalPruneResult{.deletedStudyCount = 1},
                                           LocalPruneResult{.deletedFileCount = 1}}) {
        m_result = result;
        perform();

        EXPECT_EQ(m_refreshes, ++refreshes);
    }
}

TEST_F(Cleanup, AnOverrideStandsForNowAndIsNoCutoffItself)
{
    const QDateTime future = m_clock.now().addYears(1);

    perform(future);

    EXPECT_EQ(m_askedFor, future);
    EXPECT_EQ(m_pruned, std::vector{*m_cutoff});
}

TEST_F(Cleanup, OneThatIsAskedForDuringAnotherIsDropped)
{
    std::optional<LocalPruneResult> second = LocalPruneResult{};
    m_whilePruning = [&] { second = m_service->performCleanup(kTrigger, std::nullopt, std::nullopt); };

    EXPECT_NE(perform(), std::nullopt);

    EXPECT_EQ(second, std::nullopt);
    EXPECT_EQ(events().size(), 1U);
    EXPECT_EQ(m_pruned.size(), 1U);
}

TEST_F(Cleanup, OfManyThreadsAtOnceNeverOverlaps)
{
    constexpr int kThreads = 6;
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    m_whilePruning = [&] {
        most = std::max(most.load(), ++inside);
        std::this_thread::yield();
        --inside;
    };
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int round = 0; round < 50; ++round) {
                m_service->runCleanup(kTrigger, std::nullopt, std::nullopt);
                m_service->performCleanup(kTrigger, std::nullopt, std::nullopt);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    while (!m_service->performCleanup(kTrigger, std::nullopt, std::nullopt)) {
        std::this_thread::yield(); // what was queued goes on for a while, and nobody stays inside
    }
    m_service.reset();

    EXPECT_EQ(most, 1);
    EXPECT_EQ(events().size(), m_pruned.size()) << "one event a prune, none for what was dropped";
}

TEST_F(Cleanup, QueuedWorkRunsOnItsOwnThreadAndRefreshesOnTheMainOne)
{
    m_result = {1, 1, 0, 0, 1, 0};
    std::latch pruning(1);
    std::thread::id thread;
    m_whilePruning = [&] {
        thread = std::this_thread::get_id();
        pruning.count_down();
    };

    m_service->runCleanup(kTrigger, std::nullopt, std::nullopt);
    pruning.wait();
    m_service.reset();

    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(m_refreshes, 0);
    m_main.drain();
    EXPECT_EQ(m_refreshes, 1);
}

TEST_F(Cleanup, OneUnderWayIsWaitedForWhenTheServiceGoes)
{
    std::latch pruning(1);
    bool finished = false;
    m_whilePruning = [&] {
        pruning.count_down();
        std::this_thread::yield();
        finished = true;
    };
    m_service->runCleanup(kTrigger, std::nullopt, std::nullopt);
    pruning.wait();

    m_service.reset();

    EXPECT_TRUE(finished);
    EXPECT_EQ(events().size(), 1U);
}

namespace {

using index::testing::TemporaryIndex;

/// The service joined to real settings and a real index.
class RetentionOfAnIndex : public ::testing::Test
{
protected:
    std::optional<LocalPruneResult> cleanUp(const std::optional<QDateTime> &overrideCutoff = std::nullopt)
    {
        Service service({m_emitter,
                         m_home.main,
                         [this](const QDateTime &now) {
                             return retentionCutoff(
                                 core::effectiveRetentionPolicy(m_settings), now, QTimeZone::utc());
                         },
                         [this](const QDateTime &cutoff) { return m_home.index().pruneSyncedImages(cutoff); },
                         [] {},
                         [this] { return m_home.clock.now(); },
                         [] { return true; }});
        return service.performCleanup(kTrigger, std::nullopt, overrideCutoff);
    }

    void keep(GatewayAutoDeleteMode mode, int value)
    {
        m_settings.gatewayAutoDeleteMode.set(mode);
        m_settings.gatewayAutoDeleteValue.set(value);
    }

    QString importOne(const QString &uid) { return m_home.import(TemporaryIndex::image(uid)); }

    void upload(const QString &path) { m_home.index().recordUploadResult({}, path, true); }

    qsizetype events() const
    {
        return static_cast<qsizetype>(m_log.count(GatewayLogAction::localRetentionCleanupCompleted));
    }

    TemporaryIndex m_home;
    core::Settings m_settings{m_home.defaults};
    log::testing::RecordingLog m_log;
    log::StoreLogEmitter m_emitter{m_log, m_home.clock};
};

} // namespace

TEST_F(RetentionOfAnIndex, LetsGoOfUploadedImagesAloneAndOfThoseOldEnough)
{
    keep(GatewayAutoDeleteMode::days, 30);
    importOne(QStringLiteral("9.1"));
    m_home.index().recordUploadResult({}, importOne(QStringLiteral("9.2")), false);
    upload(importOne(QStringLiteral("9.3")));
    m_home.clock.advance(std::chrono::hours(24 * 20));
    upload(importOne(QStringLiteral("9.4")));
    m_home.clock.advance(std::chrono::hours(24 * 10));
    EXPECT_EQ(cleanUp(), (LocalPruneResult{1, 1, 0, 0, 1, 0}));

    EXPECT_EQ(m_home.rows(QStringLiteral("SELECT originalSOPInstanceUID FROM DicomImage ORDER BY pk")),
              (QStringList{QStringLiteral("9.1"), QStringLiteral("9.2"), QStringLiteral("9.4")}));
}

TEST_F(RetentionOfAnIndex, KeepsEverythingWithoutAPolicy)
{
    upload(importOne(QStringLiteral("9.1")));
    m_home.clock.advance(std::chrono::hours(24 * 4000));

    EXPECT_EQ(cleanUp(), std::nullopt);

    EXPECT_EQ(events(), 0);
    EXPECT_EQ(m_home.index().counts().total.images, 1);
}

TEST_F(RetentionOfAnIndex, TakesAStoredAmountOutOfBoundsForNoPolicy)
{
    upload(importOne(QStringLiteral("9.1")));
    m_home.clock.advance(std::chrono::hours(24 * 4000));

    for (const int value : {3651, 0, -1}) {
        keep(GatewayAutoDeleteMode::days, value);
        EXPECT_EQ(cleanUp(), std::nullopt) << value;
    }

    EXPECT_EQ(events(), 0);
    EXPECT_EQ(m_home.index().counts().total.images, 1);
}

TEST_F(RetentionOfAnIndex, WithAnOverrideOneYearAheadLetsGoOfEverythingUploaded)
{
    keep(GatewayAutoDeleteMode::days, 30);
    upload(importOne(QStringLiteral("9.1")));
    importOne(QStringLiteral("9.2"));

    EXPECT_EQ(cleanUp(m_home.clock.now().addYears(1)), (LocalPruneResult{1, 1, 0, 0, 1, 0}));
    EXPECT_EQ(m_home.index().counts().total.images, 1);
}

TEST_F(RetentionOfAnIndex, WarnsOfImagesThatItCouldNotLetGo)
{
    keep(GatewayAutoDeleteMode::months, 1);
    upload(importOne(QStringLiteral("9.1")));
    m_home.clock.advance(std::chrono::hours(24 * 60));
    m_home.execute(QStringLiteral("CREATE TRIGGER refuse BEFORE DELETE ON DicomImage "
                                  "BEGIN SELECT raise(ABORT, 'refused'); END"));

    EXPECT_EQ(cleanUp(), (LocalPruneResult{1, 0, 0, 0, 0, 1}));

    const auto told = m_log.events(GatewayLogAction::localRetentionCleanupCompleted);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told.front().level, log::GatewayLogLevel::warning);
}

} // namespace gateway::upload
