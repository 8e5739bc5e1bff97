#include "platform/concurrency/task_group.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <latch>

namespace gateway::platform {

TEST(TaskGroup, NeverRunsMoreChildrenThanItIsWide)
{
    WorkerPool pool(QStringLiteral("test"), 4);
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    std::atomic<int> ran = 0;
    TaskGroup group(pool, 2, {});

    for (int i = 0; i < 200; ++i) {
        group.add([&](const std::stop_token &) {
            const int now = ++running;
            int seen = most;
            while (now > seen && !most.compare_exchange_weak(seen, now)) {
            }
            ++ran;
            --running;
        });
    }
    group.wait();

    EXPECT_EQ(ran, 200);
    EXPECT_LE(most, 2);
}

TEST(TaskGroup, RunsAsManyChildrenAtOnceAsItIsWide)
{
    WorkerPool pool(QStringLiteral("test"), 2);
    std::barrier bothInside(2);
    TaskGroup group(pool, 2, {});

    group.add([&](const std::stop_token &) { bothInside.arrive_and_wait(); });
    group.add([&](const std::stop_token &) { bothInside.arrive_and_wait(); });

    group.wait(); // hangs unless both run at once
}

TEST(TaskGroup, WaitsForRoomUntilAChildEnds)
{
    WorkerPool pool(QStringLiteral("test"), 2);
    std::latch release(1);
    std::atomic<int> ended = 0;
    TaskGroup group(pool, 2, {});
    group.add([&](const std::stop_token &) {
        release.wait();
        ++ended;
    });
    group.waitForRoom(); // one of two: returns at once
    group.add([&](const std::stop_token &) { ++ended; });

    group.waitForRoom();
    EXPECT_EQ(ended, 1);
    release.count_down();
    group.wait();
}

TEST(TaskGroup, AddBlocksUntilAChildEnds)
{
    WorkerPool pool(QStringLiteral("test"), 2);
    TaskGroup group(pool, 1, {});
    std::atomic<bool> firstEnded = false;
    std::atomic<bool> overlapped = false;

    group.add([&](const std::stop_token &) { firstEnded = true; });
    group.add([&](const std::stop_token &) { overlapped = !firstEnded; });
    group.wait();

    EXPECT_FALSE(overlapped);
}

TEST(TaskGroup, TheParentsStopReachesEveryChild)
{
    WorkerPool pool(QStringLiteral("test"), 2);
    std::stop_source parent;
    TaskGroup group(pool, 2, parent.get_token());
    std::latch started(1);
    std::atomic<bool> stopped = false;

    group.add([&](const std::stop_token &stop) {
        std::latch stopSeen(1);
        const std::stop_callback callback(stop, [&] { stopSeen.count_down(); });
        started.count_down();
        stopSeen.wait();
        stopped = true;
    });
    started.wait();
    parent.request_stop();
    group.wait();

    EXPECT_TRUE(stopped);
}

TEST(TaskGroup, AChildAddedAfterACancelRunsAndSeesTheStop)
{
    WorkerPool pool(QStringLiteral("test"), 1);
    TaskGroup group(pool, 1, {});
    std::atomic<bool> sawStop = false;

    group.cancel();
    group.add([&](const std::stop_token &stop) { sawStop = stop.stop_requested(); });
    group.wait();

    EXPECT_TRUE(sawStop);
}

TEST(TaskGroup, DyingCancelsAndWaits)
{
    WorkerPool pool(QStringLiteral("test"), 1);
    bool ended = false;
    {
        TaskGroup group(pool, 1, {});
        group.add([&](const std::stop_token &stop) {
            std::latch stopSeen(1);
            const std::stop_callback callback(stop, [&] { stopSeen.count_down(); });
            stopSeen.wait();
            ended = true;
        });
    }

    EXPECT_TRUE(ended);
}

} // namespace gateway::platform
