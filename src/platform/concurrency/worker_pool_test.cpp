#include "platform/concurrency/worker_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <memory>

namespace gateway::platform {

TEST(WorkerPool, RunsAsManyAtOnceAsItIsWide)
{
    std::barrier allInside(3);
    std::atomic<int> passed = 0;
    {
        WorkerPool pool(QStringLiteral("test"), 3);
        for (int i = 0; i < 3; ++i) {
            pool.run([&] {
                allInside.arrive_and_wait(); // hangs unless three run at once
                ++passed;
            });
        }
    }

    EXPECT_EQ(passed, 3);
}

TEST(WorkerPool, RunsEverythingThatIsQueuedBeforeItDies)
{
    std::atomic<int> ran = 0;
    {
        WorkerPool pool(QStringLiteral("test"), 2);
        for (int i = 0; i < 500; ++i) {
            pool.run([&] { ++ran; });
        }
    }

    EXPECT_EQ(ran, 500);
}

TEST(WorkerPool, IsIdleOnlyWhenEverythingRanAndWasLetGo)
{
    WorkerPool pool(QStringLiteral("test"), 2);
    const auto held = std::make_shared<std::atomic<int>>(0);

    for (int i = 0; i < 100; ++i) {
        pool.run([held] { ++*held; });
    }
    pool.waitUntilIdle();

    EXPECT_EQ(*held, 100);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(WorkerPool, WorkMayQueueMoreWork)
{
    std::atomic<int> ran = 0;
    WorkerPool pool(QStringLiteral("test"), 1);

    pool.run([&] { pool.run([&] { ++ran; }); });
    pool.waitUntilIdle();

    EXPECT_EQ(ran, 1);
}

TEST(WorkerPool, AWidthBelowOneCountsAsOne)
{
    WorkerPool pool(QStringLiteral("test"), 0);

    EXPECT_EQ(pool.width(), 1);
}

} // namespace gateway::platform
