#include "platform/concurrency/clock.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>

#include <atomic>
#include <future>

namespace gateway::platform {

using namespace std::chrono_literals;

namespace {

/// Threads of this process that are called so.
int threadsCalled(const QByteArray &name)
{
    int count = 0;
    const QDir threads(QStringLiteral("/proc/self/task"));
    for (const QString &thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile called(threads.filePath(thread + QStringLiteral("/comm")));
        count += called.open(QIODevice::ReadOnly) && called.readAll().trimmed() == name ? 1 : 0;
    }
    return count;
}

struct TimerTest : ::testing::Test
{
    /// What a wait of this length is told at its end.
    std::future<bool> wait(std::chrono::nanoseconds duration, const std::stop_token &token = {})
    {
        auto told = std::make_shared<std::promise<bool>>();
        std::future<bool> answer = told->get_future();
        clock.wakeAfter(duration, token, [told](bool sleptThrough) { told->set_value(sleptThrough); });
        return answer;
    }

    static bool isTold(const std::future<bool> &answer)
    {
        return answer.wait_for(0s) == std::future_status::ready;
    }

    std::stop_source stop;
    SystemClock clock;
};

} // namespace

TEST_F(TimerTest, TellsThatTheTimeHasCome)
{
    EXPECT_TRUE(wait(1ns).get());
}

TEST_F(TimerTest, TellsOfAStopBeforeTheRequestReturns)
{
    std::future<bool> answer = wait(24h, stop.get_token());
    EXPECT_FALSE(isTold(answer));

    stop.request_stop();

    ASSERT_TRUE(isTold(answer));
    EXPECT_FALSE(answer.get());
}

TEST_F(TimerTest, TellsAtOnceOfAStopThatWasRequestedBefore)
{
    stop.request_stop();

    std::future<bool> answer = wait(24h, stop.get_token());

    ASSERT_TRUE(isTold(answer));
    EXPECT_FALSE(answer.get());
}

TEST_F(TimerTest, LetsALongWaitHoldUpNoShorterOne)
{
    const std::future<bool> tomorrow = wait(24h);

    EXPECT_TRUE(wait(1ms).get());
    EXPECT_FALSE(isTold(tomorrow));
}

TEST_F(TimerTest, TakesOneThreadForAllWaits)
{
    for (int waits = 0; waits < 100; ++waits) {
        wait(24h);
    }
    wait(1ns).get(); // it runs

    EXPECT_EQ(threadsCalled("timer"), 1);
}

TEST(TimerEnd, ForgetsWhatWaitsStill)
{
    std::stop_source stop;
    std::atomic<bool> wasTold = false;
    {
        SystemClock clock;
        clock.wakeAfter(24h, stop.get_token(), [&](bool) { wasTold = true; });
    }

    stop.request_stop();

    EXPECT_FALSE(wasTold);
}

} // namespace gateway::platform
