#include "monitor/recent_rate.h"

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

using std::chrono::seconds;

TEST(RecentRate, IsTheMeanOverTheLastMinute)
{
    RecentRate rate;
    rate.add(seconds(100), 0);
    rate.add(seconds(110), 50);
    rate.add(seconds(150), 100);

    EXPECT_DOUBLE_EQ(rate.perSecond(), 2.0);
}

TEST(RecentRate, ForgetsWhatIsOlderThanAMinute)
{
    RecentRate rate;
    rate.add(seconds(100), 0);
    rate.add(seconds(150), 1000);
    rate.add(seconds(200), 1000);

    EXPECT_DOUBLE_EQ(rate.perSecond(), 0.0);
}

TEST(RecentRate, IsZeroWithoutTwoMoments)
{
    RecentRate rate;
    EXPECT_DOUBLE_EQ(rate.perSecond(), 0.0);

    rate.add(seconds(100), 5);
    rate.add(seconds(100), 9);
    EXPECT_DOUBLE_EQ(rate.perSecond(), 0.0);
}

} // namespace
} // namespace gateway::monitor
