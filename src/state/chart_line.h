#pragma once

#include "state/chart_color.h"

#include <QtCore/QLineF>
#include <QtCore/QList>
#include <QtCore/QPointF>
#include <QtCore/QSizeF>

#include <cstdint>
#include <optional>
#include <vector>

namespace gateway::state {

// The lines of the transfer chart and the grid behind them, without the paint. Points are those of a plot
// whose origin is its upper left corner. Plain values and functions; thread: any.

/// One series as a line.
struct ChartLine
{
    std::vector<std::int64_t> values;
    std::int64_t maxValue = 0;
    ChartColor color = ChartColor::blue;
    std::optional<std::vector<double>> dash; ///< lengths of dashes and gaps; nothing for a solid line
    double yOffset = 0;

    bool operator==(const ChartLine &) const = default;
};

inline constexpr double kLineWidth = 2; ///< with round caps and joins
inline constexpr double kLineOpacity = 0.8;

/// The points of the line, one a value, kept within the plot's height.
QList<QPointF> points(const ChartLine &line, const QSizeF &plot);

/// How far right the i-th of `count` values lies; a single one at 0.
double xOfValue(std::size_t i, std::size_t count, double width);

/// How far down a value lies on a scale, not kept within the plot.
double yOfValue(std::int64_t value, std::int64_t maxValue, double height);

/// The grid behind the lines: white, at this opacity, of width 1.
struct ChartGrid
{
    int horizontalLineCount = 6;
    int verticalLineCount = 5;

    bool operator==(const ChartGrid &) const = default;
};

inline constexpr double kGridOpacity = 0.1;

/// The lines of the grid: the horizontal ones from the top, then the vertical ones from the left.
QList<QLineF> lines(const ChartGrid &grid, const QSizeF &plot);

} // namespace gateway::state
