#include "index/store_watch.h"

#include "platform/concurrency/testing/gate.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>
#include <thread>
#include <vector>

namespace gateway::index {

namespace {

using platform::testing::ManualClock;

class StoreWatchTest : public ::testing::Test
{
protected:
    void awaitTold(const std::vector<bool> &wanted)
    {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (told().size() < wanted.size() && std::chrono::steady_clock::now() < limit) {
            std::this_thread::yield();
        }
        EXPECT_EQ(told(), wanted);
    }

    std::vector<bool> told() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_told;
    }

    void tell(bool isOut)
    {
        const platform::MutexLock lock(m_mutex);
        m_told.push_back(isOut);
    }

    ManualClock clock;
    platform::testing::Gate share;
    std::binary_semaphore looks{0};
    std::atomic<bool> isOutOfSight = false;

private:
    mutable platform::Mutex m_mutex;
    std::vector<bool> m_told QUORIN_GUARDED_BY(m_mutex);
};

TEST_F(StoreWatchTest, TellsWhatEachLookFinds)
{
    const StoreWatch watch(
        clock, [this] { return isOutOfSight.load(); }, [this](bool isOut) { tell(isOut); });
    awaitTold({false});

    isOutOfSight = true;
    clock.waitForSleepers(2);
    clock.advance(StoreWatch::kPause);

    awaitTold({false, true});
}

TEST_F(StoreWatchTest, CallsAStoreOutOfSightWhoseShareDoesNotAnswer)
{
    share.hold(true);
    const StoreWatch watch(
        clock,
        [this] {
            looks.release();
            share.pass();
            return false;
        },
        [this](bool isOut) { tell(isOut); });

    looks.acquire();
    clock.waitForSleepers(1);
    clock.advance(StoreWatch::kPause);
    awaitTold({true});

    share.hold(false);
    awaitTold({true, false});
}

} // namespace
} // namespace gateway::index
