#include "state/chart_scale.h"

#include <gtest/gtest.h>

#include <limits>

namespace gateway::state {

TEST(Scale, IsOneTwoOrFiveTimesAPowerOfTenAndAtLeastFive)
{
    EXPECT_EQ(niceMax(0), 5);
    EXPECT_EQ(niceMax(-3), 5);
    EXPECT_EQ(niceMax(5), 5);
    EXPECT_EQ(niceMax(6), 10);
    EXPECT_EQ(niceMax(10), 10);
    EXPECT_EQ(niceMax(11), 20);
    EXPECT_EQ(niceMax(20), 20);
    EXPECT_EQ(niceMax(21), 50);
    EXPECT_EQ(niceMax(50), 50);
    EXPECT_EQ(niceMax(51), 100);
    EXPECT_EQ(niceMax(1000), 1000);
    EXPECT_EQ(niceMax(1001), 2000);
    EXPECT_EQ(niceMax(999'999), 1'000'000);
}

TEST(Scale, OfTheLargestNumbersDoesNotOverflow)
{
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();

    EXPECT_EQ(niceMax(1'000'000'000'000'000'001), 2'000'000'000'000'000'000);
    EXPECT_EQ(niceMax(kMost), kMost);
}

TEST(Scale, IsSharedByBothSeriesAndFiveWhereBothAreZeroOrEmpty)
{
    EXPECT_EQ(sharedScale({1, 11}, {3}), 20);
    EXPECT_EQ(sharedScale({1}, {21, 3}), 50);
    EXPECT_EQ(sharedScale({0, 0}, {0, 0}), 5);
    EXPECT_EQ(sharedScale({}, {}), 5);
}

TEST(YLabels, CountDownFromTheTop)
{
    const QLocale locale(QStringLiteral("en_US"));

    EXPECT_EQ(texts(ChartYAxisLabels{100, 6}, locale).join(u' '), QStringLiteral("100 80 60 40 20 0"));
    EXPECT_EQ(texts(ChartYAxisLabels{5, 6}, locale).join(u' '), QStringLiteral("5 4 3 2 1 0"));
    EXPECT_EQ(texts(ChartYAxisLabels{10, 4}, locale).join(u' '), QStringLiteral("10 7 3 0")) << "rounded";
    EXPECT_EQ(texts(ChartYAxisLabels{10, 1}, locale).join(u' '), QStringLiteral("10"));
    EXPECT_TRUE(texts(ChartYAxisLabels{10, 0}, locale).isEmpty());
}

TEST(YLabels, GroupDigitsAsTheLocaleDoes)
{
    EXPECT_EQ(texts(ChartYAxisLabels{5000, 2}, QLocale(QStringLiteral("en_US"))).first(),
              QStringLiteral("5,000"));
    EXPECT_EQ(texts(ChartYAxisLabels{5000, 2}, QLocale(QStringLiteral("de_DE"))).first(),
              QStringLiteral("5.000"));
}

TEST(Plot, LeavesRoomForTheRowOfLabels)
{
    EXPECT_EQ(plotHeight(200), 200 - 18 - 8);
    EXPECT_EQ(kYLabelColumnWidth, 44);
}

} // namespace gateway::state
