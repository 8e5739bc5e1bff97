#include "platform/concurrency/testing/manual_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

namespace gateway::platform {

using namespace std::chrono_literals;
using testing::ManualClock;

TEST(SystemClock, TellsTheTimeInUtc)
{
    EXPECT_EQ(SystemClock().now().timeSpec(), Qt::UTC);
}

TEST(SystemClock, AStoppedSleepReturnsAtOnceAndSaysSo)
{
    std::stop_source stop;
    stop.request_stop();

    EXPECT_FALSE(SystemClock().sleep(24h, stop.get_token()));
}

TEST(SystemClock, ASleepIsWokenByALaterStop)
{
    std::stop_source stop;
    std::atomic<bool> whole = true;
    std::thread sleeper([&] { whole = SystemClock().sleep(24h, stop.get_token()); });

    stop.request_stop();
    sleeper.join();

    EXPECT_FALSE(whole);
}

TEST(SystemClock, ASleepOfNoLengthHasPassed)
{
    EXPECT_TRUE(SystemClock().sleep(0ns, {}));
}

TEST(ManualClock, BothClocksMoveTogetherAndOnlyWhenTold)
{
    ManualClock clock;
    const QDateTime start = clock.now();

    clock.advance(1500ms);

    EXPECT_EQ(start.msecsTo(clock.now()), 1500);
    EXPECT_EQ(clock.monotonic(), 1500ms);
    EXPECT_EQ(clock.now().timeSpec(), Qt::UTC);
}

TEST(ManualClock, ASleeperWakesWhenItsTimeHasCome)
{
    ManualClock clock;
    std::atomic<bool> whole = false;
    std::thread sleeper([&] { whole = clock.sleep(2s, {}); });

    clock.waitForSleepers(1);
    clock.advance(1s);
    clock.waitForSleepers(1);
    EXPECT_FALSE(whole);
    clock.advance(1s);
    sleeper.join();

    EXPECT_TRUE(whole);
}

TEST(ManualClock, AStopWakesASleeper)
{
    ManualClock clock;
    std::stop_source stop;
    std::atomic<bool> whole = true;
    std::thread sleeper([&] { whole = clock.sleep(1h, stop.get_token()); });

    clock.waitForSleepers(1);
    stop.request_stop();
    sleeper.join();

    EXPECT_FALSE(whole);
}

TEST(ManualClock, TellsThoseWithoutAThreadBeforeTheAdvanceReturns)
{
    ManualClock clock;
    std::optional<bool> told;
    clock.wakeAfter(2s, {}, [&](bool sleptThrough) { told = sleptThrough; });
    clock.waitForSleepers(1);

    clock.advance(1s);
    EXPECT_EQ(told, std::nullopt);
    clock.advance(1s);

    EXPECT_EQ(told, true);
}

TEST(ManualClock, TellsThoseWithoutAThreadOfAStopAndCountsThemNoMore)
{
    ManualClock clock;
    std::stop_source stop;
    int told = 0;
    clock.wakeAfter(2s, stop.get_token(), [&](bool sleptThrough) { told += sleptThrough ? 100 : 1; });

    stop.request_stop();
    clock.advance(2s);

    EXPECT_EQ(told, 1);
}

} // namespace gateway::platform
