#include "upload/failure_watch.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"

#include <gtest/gtest.h>

#include <atomic>

namespace gateway::upload {

namespace {

using core::FailureClass;
using namespace std::chrono_literals;

struct FailureWatchTest : ::testing::Test, platform::testing::RunsMain
{
    /// Lets a reading that was begun come to its end.
    void settle(int readings)
    {
        runUntil([&] { return m_readings == readings; });
        runUntil([&] { return m_isShown.exchange(false); });
    }

    void refresh()
    {
        watch.refresh();
        pool.run([this] { main.post([this] { m_isShown = true; }); });
    }

    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 1}; // one after the other
    platform::testing::ManualClock clock;
    QList<FailureFigure> figures; // set while nothing reads
    FailureWatch watch{{main, pool, clock, [this] {
                            ++m_readings;
                            return figures;
                        }}};
    std::atomic<int> m_readings = 0;
    std::atomic<bool> m_isShown = false;
};

} // namespace

TEST_F(FailureWatchTest, AddsUpTheCodesOfAReason)
{
    EXPECT_FALSE(watch.mostFrequent());
    figures = {{{FailureClass::tooLarge, 413}, 5},
               {{FailureClass::serviceFault, 500}, 4},
               {{FailureClass::serviceFault, 503}, 3}};

    refresh();
    settle(1);

    EXPECT_EQ(watch.mostFrequent(), FailureClass::serviceFault);
}

TEST_F(FailureWatchTest, TellsOnceOfAnotherReasonAndOfNone)
{
    int changes = 0;
    QObject::connect(&watch, &FailureWatch::changed, [&changes] { ++changes; });
    figures = {{{FailureClass::tooLarge, 413}, 5}};
    refresh();
    settle(1);
    clock.advance(FailureWatch::kPause);
    refresh();
    settle(2);
    EXPECT_EQ(changes, 1);

    figures.clear();
    clock.advance(FailureWatch::kPause);
    refresh();
    settle(3);

    EXPECT_FALSE(watch.mostFrequent());
    EXPECT_EQ(changes, 2);
}

TEST_F(FailureWatchTest, ReadsNoSoonerThanAfterAPause)
{
    refresh();
    settle(1);
    clock.advance(FailureWatch::kPause - 1ms);
    refresh();
    runUntil([&] { return m_isShown.exchange(false); });
    EXPECT_EQ(m_readings, 1);

    clock.advance(1ms);
    refresh();
    settle(2);
}

} // namespace gateway::upload
