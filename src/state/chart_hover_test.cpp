#include "state/chart_hover.h"

#include <gtest/gtest.h>

#include <cmath>

namespace gateway::state {

namespace {

constexpr QSizeF kPlot{300, 100};
const QDateTime kStart(QDate(2026, 5, 1), QTime(0, 0), Qt::UTC);

ChartPointHoverLayer layer(std::vector<std::int64_t> received, std::vector<std::int64_t> sent)
{
    return {std::move(received),
            std::move(sent),
            10,
            TransferTimeframe::oneDay,
            kStart,
            std::chrono::hours(1),
            std::nullopt};
}

QString idUnder(const ChartPointHoverLayer &layer, const QPointF &pointer)
{
    const auto point = hoveredPoint(plottedPoints(layer, kPlot), pointer);
    return point ? point->id : QString();
}

HoverValueCallout calloutAt(double x, double y)
{
    HoverValueCallout callout;
    callout.point.location = {x, y};
    return callout;
}

} // namespace

TEST(PlottedPoints, AreReceivedFirstThenSentWithTheStartsOfTheirBuckets)
{
    const QList<PlottedPoint> points = plottedPoints(layer({0, 5, 10, 20}, {1, 2}), kPlot);

    ASSERT_EQ(points.size(), 6);
    EXPECT_EQ(points[1],
              (PlottedPoint{QStringLiteral("received-1"),
                            1,
                            5,
                            QStringLiteral("Received"),
                            ChartColor::blue,
                            {100, 50},
                            kStart.addSecs(3600)}));
    EXPECT_EQ(points[3].location, QPointF(300, -100)) << "not kept within the plot";
    EXPECT_EQ(points[5],
              (PlottedPoint{QStringLiteral("sent-1"),
                            1,
                            2,
                            QStringLiteral("Sent"),
                            ChartColor::green,
                            {100, 80},
                            kStart.addSecs(3600)}))
        << "as far right as the longer series says";
}

TEST(PlottedPoints, OfOneValueLieAtTheLeft)
{
    EXPECT_EQ(plottedPoints(layer({5}, {}), kPlot).first().location, QPointF(0, 50));
}

TEST(PlottedPoints, OfTwoValuesLieAtBothEnds)
{
    const QList<PlottedPoint> points = plottedPoints(layer({5, 5}, {}), kPlot);

    EXPECT_EQ(points[0].location, QPointF(0, 50));
    EXPECT_EQ(points[1].location, QPointF(300, 50));
}

TEST(Hover, ExactlyTwelveAwaySelectsThePointAndALittleMoreSelectsNone)
{
    const ChartPointHoverLayer one = layer({5}, {});

    EXPECT_EQ(idUnder(one, {12, 50}), QStringLiteral("received-0"));
    EXPECT_EQ(idUnder(one, {0, 62}), QStringLiteral("received-0"));
    EXPECT_EQ(idUnder(one, {12.01, 50}), QString());
    EXPECT_EQ(idUnder(one, {9, 59}), QString()) << "12.7 away across";
}

TEST(Hover, TakesTheNearestAndOfEquallyNearOnesReceivedFirst)
{
    EXPECT_EQ(idUnder(layer({5}, {6}), {0, 41}), QStringLiteral("sent-0"));
    EXPECT_EQ(idUnder(layer({5}, {6}), {0, 45}), QStringLiteral("received-0")) << "5 from either";
    EXPECT_EQ(idUnder(layer({5, 5}, {5, 5}), {300, 50}), QStringLiteral("received-1"));
}

TEST(Hover, FindsNothingWhereNothingIsPlotted)
{
    EXPECT_EQ(idUnder(layer({}, {}), {0, 0}), QString());
}

TEST(Dots, OfTheHoveredPointAreLargerAndFull)
{
    const QList<PlottedPoint> points = plottedPoints(layer({5}, {6}), kPlot);
    const auto hovered = hoveredPoint(points, {0, 50});

    EXPECT_EQ(dotOf(points[0], hovered), (ChartDot{9, 1}));
    EXPECT_EQ(dotOf(points[1], hovered), (ChartDot{7, 0.92}));
    EXPECT_EQ(dotOf(points[0], std::nullopt), (ChartDot{7, 0.92}));
}

TEST(Callout, StandsAboveItsPointOrBelowWhereThereIsNoRoom)
{
    EXPECT_EQ(placeOf(calloutAt(150, 44), 300), QPointF(150, 10));
    EXPECT_EQ(placeOf(calloutAt(150, 43.9), 300), QPointF(150, 77.9));
}

TEST(Callout, StaysWithinThePlotSideways)
{
    EXPECT_EQ(placeOf(calloutAt(0, 90), 300).x(), 86);
    EXPECT_EQ(placeOf(calloutAt(300, 90), 300).x(), 214);
    EXPECT_EQ(placeOf(calloutAt(50, 90), 100).x(), 86) << "a plot too narrow for it";
}

TEST(Callout, TellsSeriesValueAndMoment)
{
    HoverValueCallout callout = calloutAt(0, 0);
    callout.point.series = QStringLiteral("Sent");
    callout.point.value = 7;
    callout.point.timestamp = kStart.addSecs(3600);

    EXPECT_EQ(texts(callout, QTimeZone::utc(), QLocale(QStringLiteral("en_US"))),
              (CalloutTexts{QStringLiteral("Sent"), QStringLiteral("7 items"), QStringLiteral("01:00")}));
}

} // namespace gateway::state
