#include "state/chart_line.h"

#include <gtest/gtest.h>

namespace gateway::state {

namespace {

constexpr QSizeF kPlot{300, 100};

ChartLine line(std::vector<std::int64_t> values, double yOffset = 0)
{
    return {std::move(values), 10, ChartColor::blue, std::nullopt, yOffset};
}

} // namespace

TEST(LineGeometry, SpreadsValuesOverTheWidthAndScalesThemFromTheBottom)
{
    EXPECT_EQ(points(line({0, 5, 10, 2}), kPlot), (QList<QPointF>{{0, 100}, {100, 50}, {200, 0}, {300, 80}}));
}

TEST(LineGeometry, OfOneValueIsASinglePointAtTheLeft)
{
    EXPECT_EQ(points(line({5}), kPlot), (QList<QPointF>{{0, 50}}));
}

TEST(LineGeometry, OfNoValuesIsNothing)
{
    EXPECT_TRUE(points(line({}), kPlot).isEmpty());
}

TEST(LineGeometry, StaysWithinThePlotWhateverTheOffset)
{
    EXPECT_EQ(points(line({10, 5, 0}, -1), kPlot), (QList<QPointF>{{0, 0}, {150, 49}, {300, 99}}));
    EXPECT_EQ(points(line({10, 5, 0}, 1), kPlot), (QList<QPointF>{{0, 1}, {150, 51}, {300, 100}}));
    EXPECT_EQ(points(line({20}), kPlot).first(), QPointF(0, 0)) << "beyond the scale";
}

TEST(LineGeometry, TakesAScaleOfNothingForOne)
{
    ChartLine flat = line({0, 1});
    flat.maxValue = 0;

    EXPECT_EQ(points(flat, kPlot), (QList<QPointF>{{0, 100}, {300, 0}}));
}

TEST(Grid, DividesThePlotEvenly)
{
    const QList<QLineF> drawn = lines(ChartGrid(), kPlot);

    ASSERT_EQ(drawn.size(), 6 + 5);
    EXPECT_EQ(drawn[0], QLineF(0, 0, 300, 0));
    EXPECT_EQ(drawn[1], QLineF(0, 20, 300, 20));
    EXPECT_EQ(drawn[5], QLineF(0, 100, 300, 100));
    EXPECT_EQ(drawn[6], QLineF(0, 0, 0, 100));
    EXPECT_EQ(drawn[7], QLineF(75, 0, 75, 100));
    EXPECT_EQ(drawn[10], QLineF(300, 0, 300, 100));
}

TEST(Grid, OfOneLineEachWayLiesAtTheOrigin)
{
    EXPECT_EQ(lines(ChartGrid{1, 1}, kPlot), (QList<QLineF>{{0, 0, 300, 0}, {0, 0, 0, 100}}));
}

} // namespace gateway::state
