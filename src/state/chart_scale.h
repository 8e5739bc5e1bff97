#pragma once

#include <QtCore/QLocale>
#include <QtCore/QStringList>

#include <cstdint>
#include <vector>

namespace gateway::state {

// The value axis of the transfer chart. Plain values and functions; thread: any.

/// The smallest of 1, 2, 5 or 10 times a power of ten that isn't below `rawMax`; at least 5.
std::int64_t niceMax(std::int64_t rawMax);

/// The scale that both series share: `niceMax` of the largest value of either.
std::int64_t sharedScale(const std::vector<std::int64_t> &received, const std::vector<std::int64_t> &sent);

/// The numbers beside the plot.
struct ChartYAxisLabels
{
    std::int64_t maxValue = 0;
    int tickCount = 6;

    bool operator==(const ChartYAxisLabels &) const = default;
};

/// The labels from top to bottom, in the locale's way to write numbers.
QStringList texts(const ChartYAxisLabels &labels, const QLocale &locale);

/// The measures of the chart's frame, in points.
inline constexpr double kYLabelColumnWidth = 44;
inline constexpr double kXLabelRowHeight = 18;
inline constexpr double kXLabelRowSpacing = 8;

/// The height that the plot has in a chart of this height.
double plotHeight(double chartHeight);

} // namespace gateway::state
