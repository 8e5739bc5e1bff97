#include "platform/concurrency/serial_queue.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace gateway::platform {

TEST(SerialQueue, RunsBlocksOneAfterAnotherInTheOrderOfTheirComing)
{
    std::vector<int> order;
    {
        SerialQueue queue(QStringLiteral("test.order.queue"));
        for (int i = 0; i < 1000; ++i) {
            queue.async([&order, i] { order.push_back(i); });
        }
    }

    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST(SerialQueue, BlocksOfManyThreadsNeverOverlap)
{
    int unguarded = 0;
    {
        SerialQueue queue(QStringLiteral("test.overlap.queue"));
        std::vector<std::thread> threads;
        threads.reserve(4);
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&] {
                for (int i = 0; i < 250; ++i) {
                    queue.async([&] { ++unguarded; });
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    }

    EXPECT_EQ(unguarded, 1000);
}

TEST(SerialQueue, SyncReturnsWhenTheBlockAndThoseBeforeItHaveRun)
{
    SerialQueue queue(QStringLiteral("test.sync.queue"));
    int before = 0;
    int seen = -1;

    queue.async([&] { before = 7; });
    queue.sync([&] { seen = before; });

    EXPECT_EQ(seen, 7);
}

TEST(SerialQueue, SyncHandsTheBlocksExceptionBackAndTheQueueGoesOn)
{
    SerialQueue queue(QStringLiteral("test.throw.queue"));
    bool ran = false;

    EXPECT_THROW(queue.sync([] { throw std::runtime_error("no"); }), std::runtime_error);
    queue.sync([&] { ran = true; });

    EXPECT_TRUE(ran);
}

TEST(SerialQueue, SyncOnItsOwnThreadRunsInPlace)
{
    SerialQueue queue(QStringLiteral("test.nested.queue"));
    std::vector<int> order;

    queue.sync([&] {
        queue.sync([&] { order.push_back(1); });
        order.push_back(2);
    });

    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(SerialQueue, KnowsItsOwnThread)
{
    SerialQueue queue(QStringLiteral("test.current.queue"));
    bool inside = false;

    queue.sync([&] { inside = queue.isCurrent(); });

    EXPECT_TRUE(inside);
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueue, ItsThreadIsNamedAfterTheLabelsLastWord)
{
    SerialQueue queue(QStringLiteral("com.ovelt.pavan.gateway.storageMetricsWalk.queue"), Quality::utility);
    std::string name(16, '\0');

    queue.sync([&] { pthread_getname_np(pthread_self(), name.data(), name.size()); });

    EXPECT_EQ(std::string(name.c_str()), "storageMetricsW");
}

} // namespace gateway::platform
