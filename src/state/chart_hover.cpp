#include "state/chart_hover.h"

#include "state/chart_line.h"
#include "state/time_texts.h"

#include <algorithm>
#include <cmath>

namespace gateway::state {

namespace {

constexpr double kReach = 12;

// Half of the callout's width, and how far above or below its point it stands.
constexpr double kCalloutMargin = 86;
constexpr double kCalloutDistance = 34;
constexpr double kCalloutRoomAbove = 44;

constexpr ChartDot kHoveredDot{9, 1};
constexpr ChartDot kPlainDot{7, 0.92};

/// One of the two series, as its points name it.
struct Series
{
    const std::vector<std::int64_t> &values;
    const QString idPrefix;
    const QString name;
    ChartColor color;
};

void appendPoints(QList<PlottedPoint> &list,
                  const Series &series,
                  const ChartPointHoverLayer &layer,
                  std::size_t longest,
                  const QSizeF &plot)
{
    for (std::size_t i = 0; i < series.values.size(); ++i) {
        const auto index = static_cast<std::int64_t>(i);
        list.append(
            {series.idPrefix + QString::number(index),
             index,
             series.values[i],
             series.name,
             series.color,
             {xOfValue(i, longest, plot.width()), yOfValue(series.values[i], layer.maxValue, plot.height())},
             layer.windowStart.addSecs(layer.bucketDuration.count() * index)});
    }
}

ChartHoverPoint hoverPointOf(const PlottedPoint &point)
{
    return {point.id, point.value, point.series, point.color, point.location, point.timestamp};
}

} // namespace

QList<PlottedPoint> plottedPoints(const ChartPointHoverLayer &layer, const QSizeF &plot)
{
    const std::size_t longest = std::max(layer.received.size(), layer.sent.size());
    QList<PlottedPoint> list;
    appendPoints(list,
                 {layer.received, QStringLiteral("received-"), QStringLiteral("Received"), ChartColor::blue},
                 layer,
                 longest,
                 plot);
    appendPoints(list,
                 {layer.sent, QStringLiteral("sent-"), QStringLiteral("Sent"), ChartColor::green},
                 layer,
                 longest,
                 plot);
    return list;
}

std::optional<ChartHoverPoint> hoveredPoint(const QList<PlottedPoint> &points, const QPointF &pointer)
{
    const PlottedPoint *nearest = nullptr;
    double shortest = 0;
    for (const PlottedPoint &point : points) {
        const double distance =
            std::hypot(point.location.x() - pointer.x(), point.location.y() - pointer.y());
        if (nearest == nullptr || distance < shortest) {
            nearest = &point;
            shortest = distance;
        }
    }
    if (nearest == nullptr || shortest > kReach) {
        return std::nullopt;
    }
    return hoverPointOf(*nearest);
}

ChartDot dotOf(const PlottedPoint &point, const std::optional<ChartHoverPoint> &hovered)
{
    return hovered && hovered->id == point.id ? kHoveredDot : kPlainDot;
}

QPointF placeOf(const HoverValueCallout &callout, double plotWidth)
{
    const QPointF at = callout.point.location;
    const double rightmost = std::max(plotWidth - kCalloutMargin, kCalloutMargin);
    const double below = at.y() < kCalloutRoomAbove ? kCalloutDistance : -kCalloutDistance;
    return {std::clamp(at.x(), kCalloutMargin, rightmost), at.y() + below};
}

CalloutTexts texts(const HoverValueCallout &callout, const QTimeZone &zone, const QLocale &locale)
{
    return {callout.point.series,
            QStringLiteral("%1 items").arg(callout.point.value),
            momentText(callout.point.timestamp, callout.timeframe, zone, locale)};
}

} // namespace gateway::state
