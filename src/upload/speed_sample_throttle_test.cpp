#include "upload/speed_sample_throttle.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace gateway::upload {

using namespace std::chrono_literals;

TEST(SpeedSampleThrottle, LetsTheFirstSampleThroughAndTheNextAfterTheInterval)
{
    SpeedSampleThrottle throttle(1s);

    EXPECT_TRUE(throttle.takeSample(5s));
    EXPECT_FALSE(throttle.takeSample(5s + 999ms));
    EXPECT_TRUE(throttle.takeSample(6s));
    EXPECT_FALSE(throttle.takeSample(6s));
}

TEST(SpeedSampleThrottle, LetsOneOfManyThreadsThrough)
{
    SpeedSampleThrottle throttle(1s);
    std::atomic<int> taken = 0;
    {
        std::vector<std::jthread> threads;
        threads.reserve(4);
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] {
                for (int call = 0; call < 1'000; ++call) {
                    taken += throttle.takeSample(7s) ? 1 : 0;
                }
            });
        }
    }

    EXPECT_EQ(taken, 1);
}

} // namespace gateway::upload
