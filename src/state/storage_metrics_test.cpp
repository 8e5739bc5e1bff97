#include "state/storage_metrics.h"

#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

namespace gateway::state {

namespace {

using namespace std::chrono_literals;

/// A measurement that takes as long as a test wants, and gives the number of the measurement.
class Metrics : public ::testing::Test
{
public:
    Metrics()
    {
        m_metrics.emplace([this](const std::stop_token &) { return measure(); },
                          [this](ReceivedStorageUsage usage) { m_published.push_back(usage.usedBytes); },
                          m_main,
                          m_clock);
    }

    ~Metrics() override { release(100); }

protected:
    ReceivedStorageUsage measure()
    {
        const platform::MutexLock lock(m_mutex);
        const int number = ++m_begun;
        m_changed.notifyAll();
        while (m_released < number) {
            m_changed.wait(m_mutex);
        }
        return {number, 0};
    }

    /// Lets so many measurements in all come to their end.
    void release(int count)
    {
        const platform::MutexLock lock(m_mutex);
        m_released = std::max(m_released, count);
        m_changed.notifyAll();
    }

    void waitUntilBegun(int count)
    {
        const platform::MutexLock lock(m_mutex);
        while (m_begun < count) {
            m_changed.wait(m_mutex);
        }
    }

    int begun()
    {
        const platform::MutexLock lock(m_mutex);
        return m_begun;
    }

    void runUntilPublished(std::size_t count)
    {
        while (m_published.size() < count) {
            m_main.drain();
            std::this_thread::yield();
        }
    }

    void passThePause()
    {
        m_clock.waitForSleepers(1);
        m_clock.advance(1s);
    }

    platform::MainExecutor m_main;
    platform::testing::ManualClock m_clock;
    platform::Mutex m_mutex;
    platform::Condition m_changed;
    int m_begun QUORIN_GUARDED_BY(m_mutex) = 0;
    int m_released QUORIN_GUARDED_BY(m_mutex) = 0;
    std::vector<qint64> m_published;
    std::optional<StorageMetrics> m_metrics;
};

} // namespace

TEST_F(Metrics, AreMeasuredOnAnotherThreadAndPublishedOnTheMainOne)
{
    m_metrics->refresh();
    waitUntilBegun(1);
    EXPECT_TRUE(m_published.empty());

    release(1);
    runUntilPublished(1);

    EXPECT_EQ(m_published, std::vector<qint64>{1});
}

TEST_F(Metrics, TwoRequestsDuringARunningMeasurementCauseExactlyOneFurtherMeasurement)
{
    m_metrics->refresh();
    waitUntilBegun(1);

    m_metrics->refresh();
    m_metrics->refresh();
    release(100);
    runUntilPublished(1);
    passThePause();
    runUntilPublished(2);
    m_clock.advance(10s); // a third one would rest no longer
    m_metrics.reset();    // and would come to its end

    EXPECT_EQ(m_published, (std::vector<qint64>{1, 2}));
    EXPECT_EQ(begun(), 2);
}

TEST_F(Metrics, RestForASecondBetweenTwoMeasurements)
{
    release(100);
    m_metrics->refresh();
    runUntilPublished(1);

    m_metrics->refresh();
    m_clock.waitForSleepers(1);
    m_clock.advance(999ms);
    m_clock.waitForSleepers(1);
    EXPECT_EQ(begun(), 1);
    m_clock.advance(1ms);
    runUntilPublished(2);

    EXPECT_EQ(begun(), 2);
}

TEST_F(Metrics, BeginAtOnceWhenTheLastOneWasLongAgo)
{
    release(100);
    m_metrics->refresh();
    runUntilPublished(1);
    m_clock.advance(5s);

    m_metrics->refresh();
    runUntilPublished(2);

    EXPECT_EQ(begun(), 2);
}

TEST_F(Metrics, AreWaitedForUntilTheFirstAndNeverAgain)
{
    int told = 0;
    m_metrics->whenMeasured([&] { ++told; });
    m_metrics->refresh();
    waitUntilBegun(1);
    EXPECT_EQ(told, 0);
    release(100);
    runUntilPublished(1);
    EXPECT_EQ(told, 1);

    m_metrics->whenMeasured([&] { ++told; });

    EXPECT_EQ(told, 2);
}

TEST_F(Metrics, AreDroppedWhenNobodyIsLeftToBeTold)
{
    m_metrics->refresh();
    waitUntilBegun(1);
    release(100);

    m_metrics.reset();
    m_main.drain();

    EXPECT_TRUE(m_published.empty());
}

TEST_F(Metrics, EndWithTheObjectWhileTheyRest)
{
    release(100);
    m_metrics->refresh();
    runUntilPublished(1);
    m_metrics->refresh();
    m_clock.waitForSleepers(1);

    m_metrics.reset();

    EXPECT_EQ(begun(), 1);
}

} // namespace gateway::state
