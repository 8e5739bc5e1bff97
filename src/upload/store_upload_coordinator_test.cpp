#include "upload/store_upload_coordinator.h"

#include "log/writing/testing/recording_log.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "upload/testing/fake_surroundings.h"
#include "upload/upload_run.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <thread>

namespace gateway::upload {

using log::GatewayLogAction;
using StoreUpload::ExecutionConfig;
using StoreUpload::RunSummary;

namespace {

/// Runs that last until a test lets them end. Thread: any.
class FakeRuns
{
public:
    /// How the next runs end that are let go.
    void endWith(const std::optional<StoreUpload::QueueTrouble> &trouble)
    {
        const platform::MutexLock lock(m_mutex);
        m_trouble = trouble;
    }

    RunSummary perform(const QString &runId, const ExecutionConfig &config, const std::stop_token &stop)
    {
        const std::stop_callback wake(stop, [this] { endOne(); });
        const platform::MutexLock lock(m_mutex);
        ++m_started;
        m_most = std::max(m_most, m_started - m_ended);
        m_runIds.push_back(runId);
        m_configs.push_back(config);
        m_changed.notifyAll();
        while (m_allowed <= m_ended) {
            m_changed.wait(m_mutex);
        }
        ++m_ended;
        return {.selectedCandidates = m_ended, .trouble = m_trouble, .orders = config};
    }

    void endOne()
    {
        const platform::MutexLock lock(m_mutex);
        ++m_allowed;
        m_changed.notifyAll();
    }

    /// Blocks until so many runs have started.
    void waitForStarted(int count)
    {
        const platform::MutexLock lock(m_mutex);
        while (m_started < count) {
            m_changed.wait(m_mutex);
        }
    }

    int started() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_started;
    }

    int mostAtOnce() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_most;
    }

    std::vector<QString> runIds() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_runIds;
    }

    std::vector<ExecutionConfig> configs() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_configs;
    }

private:
    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    int m_started QUORIN_GUARDED_BY(m_mutex) = 0;
    int m_ended QUORIN_GUARDED_BY(m_mutex) = 0;
    int m_allowed QUORIN_GUARDED_BY(m_mutex) = 0;
    int m_most QUORIN_GUARDED_BY(m_mutex) = 0;
    std::optional<StoreUpload::QueueTrouble> m_trouble QUORIN_GUARDED_BY(m_mutex);
    std::vector<QString> m_runIds QUORIN_GUARDED_BY(m_mutex);
    std::vector<ExecutionConfig> m_configs QUORIN_GUARDED_BY(m_mutex);
};

/// A log that can be waited on.
class AwaitableLog final : public log::GatewayLogging
{
public:
    void log(log::GatewayLogEvent event) override
    {
        const platform::MutexLock lock(m_mutex);
        m_events.push_back(std::move(event));
        m_changed.notifyAll();
    }

    /// Blocks until `count` events of an action are there, and gives them.
    std::vector<log::GatewayLogEvent> waitFor(GatewayLogAction action, std::size_t count)
    {
        const platform::MutexLock lock(m_mutex);
        while (of(action).size() < count) {
            m_changed.wait(m_mutex);
        }
        return of(action);
    }

    std::vector<log::GatewayLogEvent> events(GatewayLogAction action) const
    {
        const platform::MutexLock lock(m_mutex);
        return of(action);
    }

private:
    std::vector<log::GatewayLogEvent> of(GatewayLogAction action) const QUORIN_REQUIRES(m_mutex)
    {
        std::vector<log::GatewayLogEvent> found;
        std::ranges::copy_if(m_events, std::back_inserter(found), [action](const auto &event) {
            return event.action == action;
        });
        return found;
    }

    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    std::vector<log::GatewayLogEvent> m_events QUORIN_GUARDED_BY(m_mutex);
};

struct StoreUploadCoordinatorTest : ::testing::Test
{
    AwaitableLog log;
    platform::testing::ManualClock clock;
    log::StoreLogEmitter emitter{log, clock};
    FakeRuns runs;
    testing::RecordingRunObserver observer;
    testing::FakeUploadIndex index;
    std::atomic<int> maxConcurrent = 2;
    std::unique_ptr<StoreUploadCoordinator> coordinator =
        make([this] { return ExecutionConfig{.maxConcurrent = maxConcurrent}; });

    std::unique_ptr<StoreUploadCoordinator> make(std::function<ExecutionConfig()> readConfig)
    {
        return std::make_unique<StoreUploadCoordinator>(StoreUploadCoordinator::Collaborators{
            emitter,
            observer,
            clock,
            index,
            std::move(readConfig),
            [this](const QString &runId, const ExecutionConfig &config, const std::stop_token &stop) {
                return runs.perform(runId, config, stop);
            },
            [] { return 0.0; }});
    }

    void request(const char *trigger = "app_launch", UploadUrgency urgency = UploadUrgency::whenOpen)
    {
        coordinator->requestUploadRun(QString::fromLatin1(trigger), urgency);
    }

    /// One run that meets `trouble`, to its end. The gate is closed then and the timer set.
    void meetTrouble(const StoreUpload::QueueTrouble &trouble = {{core::FailureClass::notReachable, 7}, {}})
    {
        const int before = runs.started();
        runs.endWith(trouble);
        request();
        runs.endOne();
        log.waitFor(GatewayLogAction::uploadRunFinished, static_cast<std::size_t>(before) + 1);
        clock.waitForSleepers(1);
        runs.endWith(std::nullopt);
    }

    std::size_t count(GatewayLogAction action) const { return log.events(action).size(); }

    static QString detail(const log::GatewayLogEvent &event, const char *key)
    {
        return event.details ? event.details->value(QString::fromLatin1(key)) : QString();
    }
};

} // namespace

TEST_F(StoreUploadCoordinatorTest, TenRequestsInARowCostOneRunAndOneMore)
{
    for (int number = 0; number < 10; ++number) {
        request("receive_import_succeeded");
    }
    log.waitFor(GatewayLogAction::uploadRunRequeued, 9);
    EXPECT_EQ(log.events(GatewayLogAction::uploadRunStarted).size(), 1U);
    EXPECT_EQ(log.events(GatewayLogAction::uploadRunRequested).size(), 10U);

    runs.endOne();
    const auto requested = log.waitFor(GatewayLogAction::uploadRunRequested, 11);
    log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    EXPECT_EQ(detail(requested.back(), "trigger"), QStringLiteral("deferred_while_running"));
    EXPECT_EQ(runs.started(), 2);
    EXPECT_EQ(log.events(GatewayLogAction::uploadRunRequested).size(), 11U);
    EXPECT_EQ(log.events(GatewayLogAction::uploadRunRequeued).size(), 9U);
}

TEST_F(StoreUploadCoordinatorTest, ARequestAfterTheEndOfARunStartsARunByItself)
{
    request();
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 1);

    request("auth_state_changed");
    const auto started = log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    EXPECT_EQ(detail(started.back(), "trigger"), QStringLiteral("auth_state_changed"));
    EXPECT_TRUE(log.events(GatewayLogAction::uploadRunRequeued).empty());
}

TEST_F(StoreUploadCoordinatorTest, TellsEachStepWithItsDetails)
{
    request("app_launch");
    runs.waitForStarted(1);
    request("auth_state_changed");
    const auto requeued = log.waitFor(GatewayLogAction::uploadRunRequeued, 1).front();
    EXPECT_EQ(observer.startedRuns, 1);
    EXPECT_EQ(observer.finishedRuns, 0);
    runs.endOne();
    const auto finished = log.waitFor(GatewayLogAction::uploadRunFinished, 1).front();
    runs.waitForStarted(2);
    EXPECT_EQ(observer.startedRuns, 2);
    EXPECT_EQ(observer.finishedRuns, 1);

    const auto requested = log.events(GatewayLogAction::uploadRunRequested).front();
    const auto started = log.events(GatewayLogAction::uploadRunStarted).front();
    for (const log::GatewayLogEvent &event : {requested, requeued, started, finished}) {
        EXPECT_EQ(event.level, log::GatewayLogLevel::info);
        EXPECT_EQ(event.category, log::GatewayLogCategory::uploadQueue);
        EXPECT_EQ(event.fileHash, std::nullopt);
        EXPECT_EQ(detail(event, "execution_mode"), QStringLiteral("single"));
    }
    EXPECT_EQ(requested.outcome, log::GatewayLogOutcome::queued);
    EXPECT_EQ(requeued.outcome, log::GatewayLogOutcome::queued);
    EXPECT_EQ(started.outcome, log::GatewayLogOutcome::started);
    EXPECT_EQ(finished.outcome, log::GatewayLogOutcome::completed);
    EXPECT_EQ(detail(requested, "trigger"), QStringLiteral("app_launch"));
    EXPECT_EQ(detail(started, "trigger"), QStringLiteral("app_launch"));
    EXPECT_EQ(detail(requeued, "trigger"), QStringLiteral("auth_state_changed"));
    EXPECT_EQ(detail(requeued, "reason"), QStringLiteral("run_already_in_progress"));
    EXPECT_EQ(detail(finished, "selected_candidates"), QStringLiteral("1"));
    EXPECT_EQ(detail(finished, "trigger"), QString());
}

TEST_F(StoreUploadCoordinatorTest, GivesRunsAnIdentityAndRequestsNone)
{
    request();
    runs.waitForStarted(1);
    request();
    log.waitFor(GatewayLogAction::uploadRunRequeued, 1);
    runs.endOne();
    const auto started = log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    runs.endOne();
    const auto finished = log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    for (const auto action : {GatewayLogAction::uploadRunRequested, GatewayLogAction::uploadRunRequeued}) {
        for (const log::GatewayLogEvent &event : log.events(action)) {
            EXPECT_EQ(event.correlationId, std::nullopt);
        }
    }
    const auto runIds = runs.runIds();
    EXPECT_NE(runIds.at(0), runIds.at(1));
    EXPECT_EQ(started[0].correlationId, runIds[0]);
    EXPECT_EQ(finished[0].correlationId, runIds[0]);
    EXPECT_EQ(started[1].correlationId, runIds[1]);
    EXPECT_EQ(finished[1].correlationId, runIds[1]);
}

TEST_F(StoreUploadCoordinatorTest, ARunTakesTheSettingsOfItsStartAndALaterChangeCountsFromTheNext)
{
    request();
    runs.waitForStarted(1);
    maxConcurrent = 5;
    request();
    log.waitFor(GatewayLogAction::uploadRunRequeued, 1);

    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    EXPECT_EQ(runs.configs().at(0).maxConcurrent, 2);
    EXPECT_EQ(runs.configs().at(1).maxConcurrent, 5);
    EXPECT_EQ(detail(log.events(GatewayLogAction::uploadRunFinished).at(0), "max_concurrent"),
              QStringLiteral("2"));
}

TEST_F(StoreUploadCoordinatorTest, TheConfigOfARequestMayDifferFromTheOneThatItsRunUses)
{
    // The first reading is the request's, the second the run's.
    std::atomic<int> readings = 0;
    coordinator = make([&readings] { return ExecutionConfig{.maxConcurrent = ++readings}; });

    request();
    const auto started = log.waitFor(GatewayLogAction::uploadRunStarted, 1).front();
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 1);

    EXPECT_EQ(detail(log.events(GatewayLogAction::uploadRunRequested).front(), "max_concurrent"),
              QStringLiteral("1"));
    EXPECT_EQ(detail(started, "max_concurrent"), QStringLiteral("2"));
    EXPECT_EQ(runs.configs().at(0).maxConcurrent, 2);
    coordinator.reset(); // before the counter that it reads
}

TEST_F(StoreUploadCoordinatorTest, LosesNoRequestOfManyThreadsAndNeverRunsTwice)
{
    constexpr int kThreads = 4;
    constexpr int kRequestsEach = 100;
    {
        std::vector<std::jthread> threads;
        threads.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([this] {
                for (int number = 0; number < kRequestsEach; ++number) {
                    request();
                    runs.endOne();
                }
            });
        }
    }

    // Each request starts a run or is noted; a note is followed by a request of the coordinator's own.
    while (count(GatewayLogAction::uploadRunStarted) + count(GatewayLogAction::uploadRunRequeued) <
               count(GatewayLogAction::uploadRunRequested) ||
           count(GatewayLogAction::uploadRunFinished) < count(GatewayLogAction::uploadRunStarted)) {
        runs.endOne();
        std::this_thread::yield();
    }
    coordinator.reset();
    EXPECT_EQ(runs.mostAtOnce(), 1);
    EXPECT_GE(count(GatewayLogAction::uploadRunRequested), std::size_t{kThreads * kRequestsEach});
    EXPECT_EQ(count(GatewayLogAction::uploadRunStarted), static_cast<std::size_t>(runs.started()));
}

TEST_F(StoreUploadCoordinatorTest, TellsARunWithoutATokenAsCompletedWithoutOne)
{
    testing::FakeSurroundings around;
    around.store(QStringLiteral("1.1"));
    around.session.signIn(false);
    coordinator = std::make_unique<StoreUploadCoordinator>(StoreUploadCoordinator::Collaborators{
        emitter,
        observer,
        clock,
        around.index,
        [] { return ExecutionConfig(); },
        [&around](const QString &runId, const ExecutionConfig &config, const std::stop_token &stop) {
            return UploadRun(around.collaborators, runId, config, QStringLiteral("DEVICE")).run(stop);
        },
        [] { return 0.0; }});

    request();
    const auto finished = log.waitFor(GatewayLogAction::uploadRunFinished, 1).front();
    coordinator.reset(); // before what its runs work with

    EXPECT_EQ(finished.level, log::GatewayLogLevel::info);
    EXPECT_EQ(finished.outcome, log::GatewayLogOutcome::completed);
    EXPECT_EQ(detail(finished, "missing_token"), QStringLiteral("true"));
    EXPECT_EQ(detail(finished, "selected_candidates"), QStringLiteral("0"));
}

TEST_F(StoreUploadCoordinatorTest, StopsItsRunWhenItGoesAndTellsNoMore)
{
    request();
    runs.waitForStarted(1);
    request();
    log.waitFor(GatewayLogAction::uploadRunRequeued, 1);

    coordinator.reset(); // hangs unless the run is asked to stop

    EXPECT_EQ(runs.started(), 1);
    EXPECT_TRUE(log.events(GatewayLogAction::uploadRunFinished).empty());
}

TEST_F(StoreUploadCoordinatorTest, WhileTheGateIsClosedRequestsCostALineEachAndNothingElse)
{
    meetTrouble();

    for (int number = 0; number < 1000; ++number) {
        request("receive_import_succeeded");
    }
    coordinator.reset(); // carries all of them out

    EXPECT_EQ(runs.started(), 1);
    EXPECT_EQ(count(GatewayLogAction::uploadRunRequested), 1001U);
    EXPECT_EQ(count(GatewayLogAction::uploadRunRequeued), 0U);
}

TEST_F(StoreUploadCoordinatorTest, ATimerOpensTheGateWithoutAnyFurtherRequest)
{
    meetTrouble();

    clock.advance(UploadGate::kFirstPause);
    const auto started = log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    EXPECT_EQ(detail(started.back(), "trigger"), QStringLiteral("pause_over"));
}

TEST_F(StoreUploadCoordinatorTest, ADayWithoutACloudCostsFewRunsAndLinesBesideThoseOfTheRequests)
{
    constexpr std::size_t kMostRuns = 310;
    runs.endWith(StoreUpload::QueueTrouble{{core::FailureClass::notReachable, 7}, {}});
    request();
    std::size_t asked = 1;
    for (const auto end = clock.monotonic() + std::chrono::hours(24); clock.monotonic() < end;) {
        runs.waitForStarted(static_cast<int>(count(GatewayLogAction::uploadRunFinished)) + 1);
        const std::size_t finished = count(GatewayLogAction::uploadRunFinished);
        runs.endOne();
        log.waitFor(GatewayLogAction::uploadRunFinished, finished + 1);
        clock.waitForSleepers(1);
        request("receive_import_succeeded");
        ++asked;
        const auto closure = coordinator->closure();
        ASSERT_TRUE(closure);
        clock.advance(std::chrono::milliseconds(clock.now().msecsTo(closure->until)));
    }
    coordinator.reset();

    EXPECT_LT(count(GatewayLogAction::uploadRunStarted), kMostRuns);
    EXPECT_LT(count(GatewayLogAction::uploadRunRequested), asked + kMostRuns);
}

TEST_F(StoreUploadCoordinatorTest, APersonOpensTheGateAndLetsEverythingBeTried)
{
    meetTrouble({{core::FailureClass::tooManyRequests, 429}, std::chrono::minutes(5)});

    request("command_line", UploadUrgency::everythingNow);
    const auto started = log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    EXPECT_EQ(detail(started.back(), "trigger"), QStringLiteral("command_line"));
    EXPECT_EQ(index.releases(), 1);
}

TEST_F(StoreUploadCoordinatorTest, APersonOpensTheGateForOneStudyAndReleasesNoOther)
{
    meetTrouble({{core::FailureClass::tooManyRequests, 429}, std::chrono::minutes(5)});

    request("local_browser", UploadUrgency::openNow);
    log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    EXPECT_EQ(index.releases(), 0);
}

TEST_F(StoreUploadCoordinatorTest, ACloudThatIsBackOpensTheGateUnlessItAskedToWait)
{
    meetTrouble();
    request("cloud_back", UploadUrgency::unlessAskedToWait);
    log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);
    meetTrouble({{core::FailureClass::tooManyRequests, 503}, std::chrono::minutes(5)});

    request("cloud_back", UploadUrgency::unlessAskedToWait);
    coordinator.reset(); // carries the request out

    EXPECT_EQ(runs.started(), 3);
    EXPECT_EQ(index.releases(), 0);
}

TEST_F(StoreUploadCoordinatorTest, TheFirstRunBehindTheGateProbesAndTheOneAfterDoesNot)
{
    meetTrouble();
    clock.advance(UploadGate::kFirstPause);
    runs.waitForStarted(2);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    request();
    runs.waitForStarted(3);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 3);

    const auto configs = runs.configs();
    EXPECT_FALSE(configs.at(0).probesFirst);
    EXPECT_TRUE(configs.at(1).probesFirst);
    EXPECT_FALSE(configs.at(2).probesFirst);
}

TEST_F(StoreUploadCoordinatorTest, APersonsRequestDuringARunThatMeetsTroubleGivesOneMoreAtOnce)
{
    request();
    runs.waitForStarted(1);
    request("command_line", UploadUrgency::everythingNow);
    log.waitFor(GatewayLogAction::uploadRunRequeued, 1);
    runs.endWith(StoreUpload::QueueTrouble{{core::FailureClass::timedOut, 28}, {}});

    runs.endOne();
    const auto started = log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    EXPECT_EQ(detail(started.back(), "trigger"), QStringLiteral("deferred_while_running"));
}

TEST_F(StoreUploadCoordinatorTest, AnImageThatComesDuringARunThatMeetsTroubleWaitsForTheGate)
{
    runs.endWith(StoreUpload::QueueTrouble{{core::FailureClass::timedOut, 28}, {}});
    request();
    runs.waitForStarted(1);
    request("receive_import_succeeded");
    log.waitFor(GatewayLogAction::uploadRunRequeued, 1);

    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 1);
    clock.waitForSleepers(1);
    coordinator.reset();

    EXPECT_EQ(runs.started(), 1);
}

TEST_F(StoreUploadCoordinatorTest, AsksForARunWhenTheTimeOfAFileComesThatFailedBefore)
{
    index.setNextRetry(clock.now().addSecs(60));
    request();
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 1);
    clock.waitForSleepers(1);

    clock.advance(std::chrono::seconds(60));
    const auto started = log.waitFor(GatewayLogAction::uploadRunStarted, 2);
    index.setNextRetry(std::nullopt);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    EXPECT_EQ(detail(started.back(), "trigger"), QStringLiteral("retry_due"));
}

TEST_F(StoreUploadCoordinatorTest, LooksAtTheTimeOfAFileFarAwayAgainWithoutARun)
{
    const QDateTime due = clock.now().addSecs(400);
    index.setNextRetry(clock.now().addDays(1));
    request();
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 1);
    clock.waitForSleepers(1);
    index.setNextRetry(due); // as a clock that was set would make it

    while (runs.started() < 2) {
        clock.advance(std::chrono::seconds(1));
        std::this_thread::yield();
    }
    index.setNextRetry(std::nullopt);
    runs.endOne();
    log.waitFor(GatewayLogAction::uploadRunFinished, 2);

    EXPECT_GE(log.events(GatewayLogAction::uploadRunStarted).back().timestamp, due);
    EXPECT_EQ(count(GatewayLogAction::uploadRunRequested), 2U);
}

} // namespace gateway::upload
