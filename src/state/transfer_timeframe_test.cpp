#include "state/transfer_timeframe.h"

#include <QtCore/QStringList>

#include <gtest/gtest.h>

namespace gateway::state {

namespace {

struct Expected
{
    const char *name;
    int seconds;
    int visible;
    int smallest;
    int largest;
    const char *title;
    MomentTemplate moment;
};

constexpr Expected kTable[] = {
    {"oneHour", 300, 12, 4, 144, "Last 1 hour", MomentTemplate::time},
    {"fourHours", 900, 16, 5, 192, "Last 4 hours", MomentTemplate::time},
    {"oneDay", 3600, 24, 8, 288, "Last 24 hours", MomentTemplate::time},
    {"oneWeek", 21600, 28, 9, 336, "Last 7 days", MomentTemplate::weekdayTime},
    {"oneMonth", 86400, 30, 10, 360, "Last 30 days", MomentTemplate::monthDay},
};

} // namespace

TEST(Timeframe, HasItsNameBucketsBoundsTitleAndTemplate)
{
    ASSERT_EQ(kTransferTimeframes.size(), std::size(kTable));
    for (std::size_t i = 0; i < std::size(kTable); ++i) {
        const TransferTimeframe timeframe = kTransferTimeframes.at(i);
        const Expected &expected = kTable[i];

        EXPECT_EQ(rawValue(timeframe), QLatin1String(expected.name));
        EXPECT_EQ(bucketDuration(timeframe), std::chrono::seconds(expected.seconds)) << expected.name;
        EXPECT_EQ(defaultVisibleBuckets(timeframe), expected.visible) << expected.name;
        EXPECT_EQ(smallestVisibleBuckets(timeframe), expected.smallest) << expected.name;
        EXPECT_EQ(largestVisibleBuckets(timeframe), expected.largest) << expected.name;
        EXPECT_EQ(menuTitle(timeframe), QLatin1String(expected.title));
        EXPECT_EQ(momentTemplate(timeframe), expected.moment) << expected.name;
    }
}

} // namespace gateway::state
