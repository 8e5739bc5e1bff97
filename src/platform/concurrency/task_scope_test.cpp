#include "platform/concurrency/task_scope.h"

#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <QtCore/QCoreApplication>

#include <gtest/gtest.h>

#include <chrono>

namespace gateway::platform {

namespace {

using std::chrono::seconds;

/// An owner whose only operation sleeps again and again.
class Sleeper
{
public:
    Sleeper(MainExecutor &main, WorkerPool &pool, Clock &clock)
        : m_main(main), m_pool(pool), m_clock(clock), m_scope(main, pool)
    {
    }

    void start() { m_scope.start(run(m_scope.stopToken())); }
    void close() { m_scope.close(); }

    int rounds = 0;
    bool hasEnded = false;

private:
    QCoro::Task<> run(std::stop_token stop)
    {
        const auto operation = m_scope.enter();
        for (;;) {
            const bool sleptThrough = co_await asyncSleep(m_main, m_clock, seconds(60), stop);
            if (!sleptThrough || stop.stop_requested()) {
                break;
            }
            co_await onPool(m_main, m_pool, [] {});
            ++rounds;
        }
        hasEnded = true;
    }

    MainExecutor &m_main;
    WorkerPool &m_pool;
    Clock &m_clock;
    TaskScope m_scope; // last: drained before the fields go
};

struct TaskScopeFixture : ::testing::Test
{
    MainExecutor main;
    WorkerPool pool{QStringLiteral("test"), 1};
    testing::ManualClock clock;
    Sleeper sleeper{main, pool, clock};
};

} // namespace

TEST_F(TaskScopeFixture, SleepsOnTheClockWithoutTakingTheMainThreadOrAWorker)
{
    sleeper.start();
    for (int round = 1; round <= 3; ++round) {
        clock.waitForSleepers(1);
        pool.waitUntilIdle();
        clock.advance(seconds(60));
        while (sleeper.rounds < round) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    EXPECT_EQ(sleeper.rounds, 3);
    EXPECT_FALSE(sleeper.hasEnded);
}

TEST_F(TaskScopeFixture, StopsAndDrainsWhatIsUnderWayWhenItCloses)
{
    sleeper.start();
    clock.waitForSleepers(1);

    sleeper.close();

    EXPECT_TRUE(sleeper.hasEnded);
    EXPECT_EQ(sleeper.rounds, 0);
}

TEST_F(TaskScopeFixture, ClosesAtOnceWhenNothingIsUnderWayAndAgainWithoutHarm)
{
    sleeper.close();
    sleeper.close();

    EXPECT_FALSE(sleeper.hasEnded);
}

} // namespace gateway::platform
