#include "receive/source_look.h"

#include "platform/concurrency/testing/manual_clock.h"

#include <gtest/gtest.h>

#include <latch>
#include <thread>

namespace gateway::receive {
namespace {

using platform::testing::ManualClock;

/// What a disk does that answers when it is told to. Held by the look itself, which may end after the test.
struct Disk
{
    std::atomic<bool> answers = false;
    std::latch ended{1};
    std::atomic<bool> sawStop = false;
};

class SourceLook : public ::testing::Test
{
protected:
    ~SourceLook() override
    {
        answer();
        m_disk->ended.wait();
    }

    void answer()
    {
        m_disk->answers = true;
        m_disk->answers.notify_all();
    }

    std::optional<int> look()
    {
        return lookPatiently(
            m_clock,
            [disk = m_disk](const std::stop_token &stop, Pulse &) {
                disk->answers.wait(false);
                disk->sawStop = stop.stop_requested();
                disk->ended.count_down();
                return 7;
            },
            m_stop.get_token());
    }

    ManualClock m_clock;
    std::stop_source m_stop;
    std::shared_ptr<Disk> m_disk = std::make_shared<Disk>();
};

TEST_F(SourceLook, BringsWhatItFound)
{
    std::thread disk([this] {
        m_clock.waitForSleepers(1);
        answer();
    });

    EXPECT_EQ(look(), 7);

    disk.join();
}

TEST_F(SourceLook, IsGivenUpByAStopWhateverTheDiskDoes)
{
    std::thread operatorAtTheScreen([this] {
        m_clock.waitForSleepers(1);
        m_stop.request_stop();
    });

    EXPECT_EQ(look(), std::nullopt);

    operatorAtTheScreen.join();
    answer();
    m_disk->ended.wait();
    EXPECT_TRUE(m_disk->sawStop) << "what was left behind must end when the disk answers";
}

TEST_F(SourceLook, IsGivenUpWhenNothingWasDoneForTooLong)
{
    std::thread time([this] {
        m_clock.waitForSleepers(1);
        m_clock.advance(kLongestSilence);
    });

    EXPECT_EQ(look(), std::nullopt);

    time.join();
}

TEST(SlowSourceLook, IsWaitedForAsLongAsItGetsOn)
{
    ManualClock clock;

    const std::optional<int> found = lookPatiently(clock,
                                                   [&](const std::stop_token &stop, Pulse &pulse) {
                                                       for (int step = 0; step < 6; ++step) {
                                                           clock.waitForSleepers(1);
                                                           ++pulse;
                                                           clock.advance(kLongestSilence);
                                                       }
                                                       return stop.stop_requested() ? 0 : 7;
                                                   },
                                                   {});

    EXPECT_EQ(found, 7);
}

} // namespace
} // namespace gateway::receive
