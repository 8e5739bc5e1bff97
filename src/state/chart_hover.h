#pragma once

#include "state/chart_color.h"
#include "state/transfer_timeframe.h"

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QLocale>
#include <QtCore/QPointF>
#include <QtCore/QSizeF>
#include <QtCore/QString>
#include <QtCore/QTimeZone>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace gateway::state {

// The dots on the transfer chart, and what the pointer finds among them. Plain values and functions;
// thread: any.

/// The point that the callout shows.
struct ChartHoverPoint
{
    QString id;
    std::int64_t value = 0;
    QString series;
    ChartColor color = ChartColor::blue;
    QPointF location;
    QDateTime timestamp;

    bool operator==(const ChartHoverPoint &) const = default;
};

/// One plotted sample.
struct PlottedPoint
{
    QString id; ///< "received-" or "sent-" and the index
    std::int64_t index = 0;
    std::int64_t value = 0;
    QString series; ///< "Received" or "Sent"
    ChartColor color = ChartColor::blue;
    QPointF location;
    QDateTime timestamp; ///< start of its bucket

    bool operator==(const PlottedPoint &) const = default;
};

/// The layer of dots over the plot.
struct ChartPointHoverLayer
{
    std::vector<std::int64_t> received;
    std::vector<std::int64_t> sent;
    std::int64_t maxValue = 0;
    TransferTimeframe timeframe = TransferTimeframe::oneDay;
    QDateTime windowStart;
    std::chrono::seconds bucketDuration{0};
    std::optional<ChartHoverPoint> hoveredPoint;

    bool operator==(const ChartPointHoverLayer &) const = default;
};

/// The points of both series in the order in which they are drawn: received first.
QList<PlottedPoint> plottedPoints(const ChartPointHoverLayer &layer, const QSizeF &plot);

/// The point nearest to the pointer, if it is no further than 12 away; of several as near, the one drawn
/// first.
std::optional<ChartHoverPoint> hoveredPoint(const QList<PlottedPoint> &points, const QPointF &pointer);

/// How a dot is drawn: with a white ring of width 1, and a clear hit area around it.
struct ChartDot
{
    double diameter = 0;
    double opacity = 0;

    bool operator==(const ChartDot &) const = default;
};

inline constexpr double kDotRingOpacity = 0.95;

ChartDot dotOf(const PlottedPoint &point, const std::optional<ChartHoverPoint> &hovered);

/// What is told of the hovered point.
struct HoverValueCallout
{
    ChartHoverPoint point;
    TransferTimeframe timeframe = TransferTimeframe::oneDay;

    bool operator==(const HoverValueCallout &) const = default;
};

/// Where the centre of the callout lies in a plot of this width.
QPointF placeOf(const HoverValueCallout &callout, double plotWidth);

/// The three lines of the callout.
struct CalloutTexts
{
    QString series;
    QString value; ///< such as "7 items"
    QString moment;

    bool operator==(const CalloutTexts &) const = default;
};

CalloutTexts texts(const HoverValueCallout &callout, const QTimeZone &zone, const QLocale &locale);

} // namespace gateway::state
