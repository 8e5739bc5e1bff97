#include "state/transfer_line_chart.h"

#include <gtest/gtest.h>

namespace gateway::state {

namespace {

const QDateTime kStart(QDate(2026, 5, 1), QTime(0, 0), Qt::UTC);
const std::vector<double> kDash = {6, 4};

TransferLineChart chart(std::vector<std::int64_t> received, std::vector<std::int64_t> sent)
{
    TransferLineChart chart;
    chart.received = std::move(received);
    chart.sent = std::move(sent);
    chart.windowStart = kStart;
    chart.bucketDuration = std::chrono::hours(1);
    return chart;
}

/// What an area is told of a motion; nothing when it isn't told at all.
std::optional<double> captured(const ScrollMotion &motion)
{
    std::optional<double> told;
    capture({[&](double distance) { told = distance; }}, motion);
    return told;
}

} // namespace

TEST(Chart, OfNothingButZerosScalesToFiveAndDashesTheSentLine)
{
    const ChartParts parts = partsOf(chart({0, 0, 0}, {0, 0, 0}), std::nullopt);

    EXPECT_EQ(parts.received.maxValue, 5);
    EXPECT_EQ(parts.sent.maxValue, 5);
    EXPECT_EQ(parts.yLabels, (ChartYAxisLabels{5, 6}));
    EXPECT_EQ(parts.sent.dash, kDash);
    EXPECT_EQ(parts.received.dash, std::nullopt);
}

TEST(Chart, PartsTheLinesWhereTheyMeetAnywhere)
{
    const ChartParts parts = partsOf(chart({1, 2, 3}, {4, 2, 6}), std::nullopt);

    EXPECT_EQ(parts.received.yOffset, -1);
    EXPECT_EQ(parts.sent.yOffset, 1);
    EXPECT_EQ(parts.sent.dash, kDash);
}

TEST(Chart, LeavesLinesThatNeverMeetSolidAndInPlace)
{
    const ChartParts parts = partsOf(chart({1, 2}, {2, 1}), std::nullopt);

    EXPECT_EQ(parts.received.yOffset, 0);
    EXPECT_EQ(parts.sent.yOffset, 0);
    EXPECT_EQ(parts.sent.dash, std::nullopt);
}

TEST(Chart, ComparesOnlyAsFarAsBothSeriesReach)
{
    EXPECT_FALSE(linesOverlap({1, 2, 0}, {2, 1}));
    EXPECT_TRUE(linesOverlap({1, 1, 0}, {2, 1}));
    EXPECT_FALSE(linesOverlap({}, {0}));
}

TEST(Chart, HandsSeriesScaleAndWindowToAllItsParts)
{
    ChartHoverPoint hovered;
    hovered.id = QStringLiteral("sent-1");

    const ChartParts parts = partsOf(chart({1, 40}, {2, 21, 7}), hovered);

    EXPECT_EQ(parts.grid, (ChartGrid{6, 5}));
    EXPECT_EQ(parts.received.color, ChartColor::blue);
    EXPECT_EQ(parts.sent.color, ChartColor::green);
    EXPECT_EQ(parts.sent.values, (std::vector<std::int64_t>{2, 21, 7}));
    EXPECT_EQ(
        parts.dots,
        (ChartPointHoverLayer{
            {1, 40}, {2, 21, 7}, 50, TransferTimeframe::oneDay, kStart, std::chrono::hours(1), hovered}));
    EXPECT_EQ(parts.xLabels,
              (ChartXAxisLabels{3, 5, TransferTimeframe::oneDay, kStart, std::chrono::hours(1)}));
}

TEST(Totals, AreTheSumsOfWhatIsVisible)
{
    EXPECT_EQ(summaryPills({1, 2, 3}, {4}),
              (std::array{SummaryPill{QStringLiteral("Received"), 6, ChartColor::blue},
                          SummaryPill{QStringLiteral("Sent"), 4, ChartColor::green}}));
    EXPECT_EQ(legendItems(),
              (std::array{LegendItem{QStringLiteral("Received"), ChartColor::blue},
                          LegendItem{QStringLiteral("Sent"), ChartColor::green}}));
}

TEST(ScrollCapture, TellsPreciseDistancesAsTheyAreAndNotchesTenfold)
{
    EXPECT_EQ(captured({0, 7.5, true, true}), 7.5);
    EXPECT_EQ(captured({0, -1, false, true}), -10);
}

TEST(ScrollCapture, LeavesMainlyHorizontalMotionsAlone)
{
    EXPECT_EQ(captured({-8, 7, true, true}), std::nullopt);
    EXPECT_EQ(captured({7, 7, true, true}), std::nullopt);
    EXPECT_EQ(captured({-6.9, -7, true, true}), -7);
    EXPECT_EQ(captured({9, 1, false, true}), 10) << "a notch upward is 10";
    EXPECT_EQ(captured({0, 0, true, true}), std::nullopt);
}

TEST(ScrollCapture, LeavesMotionsBesideTheChartAlone)
{
    EXPECT_EQ(captured({0, 7, true, false}), std::nullopt);
    EXPECT_NO_THROW(capture({}, {0, 7, true, true}));
}

} // namespace gateway::state
