#pragma once

#include "state/chart_hover.h"
#include "state/chart_line.h"
#include "state/chart_scale.h"
#include "state/chart_time_axis.h"

#include <array>
#include <functional>
#include <optional>

namespace gateway::state {

// The transfer chart as a whole: from the two series to everything that is drawn. Plain values and functions;
// thread: any.

/// The chart of what came and what went.
struct TransferLineChart
{
    std::vector<std::int64_t> received;
    std::vector<std::int64_t> sent;
    TransferTimeframe timeframe = TransferTimeframe::oneDay;
    QDateTime windowStart;
    std::chrono::seconds bucketDuration{0};
    std::function<void(double)> onScrollDelta; ///< told each distance scrolled over the chart
    double overlapSeparation = 1;              ///< how far either line moves where they would hide each other
};

/// Whether both series have the same value anywhere, so that one line would lie on the other.
bool linesOverlap(const std::vector<std::int64_t> &received, const std::vector<std::int64_t> &sent);

/// Everything that the chart draws, from back to front.
struct ChartParts
{
    ChartGrid grid;
    ChartLine received;
    ChartLine sent;
    ChartPointHoverLayer dots;
    ChartYAxisLabels yLabels;
    ChartXAxisLabels xLabels;

    bool operator==(const ChartParts &) const = default;
};

/// \param hovered  the point under the pointer.
ChartParts partsOf(const TransferLineChart &chart, const std::optional<ChartHoverPoint> &hovered);

/// The sum of what is visible of one series.
struct SummaryPill
{
    QString title;
    std::int64_t value = 0;
    ChartColor color = ChartColor::blue;

    bool operator==(const SummaryPill &) const = default;
};

/// One line of the legend.
struct LegendItem
{
    QString label;
    ChartColor color = ChartColor::blue;

    bool operator==(const LegendItem &) const = default;
};

/// "Received" and "Sent", with their sums.
std::array<SummaryPill, 2> summaryPills(const std::vector<std::int64_t> &received,
                                        const std::vector<std::int64_t> &sent);

/// "Received" and "Sent".
std::array<LegendItem, 2> legendItems();

/// One turn of a wheel or move of two fingers, as the device reports it.
struct ScrollMotion
{
    double deltaX = 0;
    double deltaY = 0; ///< positive upward
    bool hasPreciseDeltas = false;
    bool isOverChart = false; ///< in the chart's window and within its rectangle
};

/// What catches scrolling over the chart.
struct ChartScrollWheelCaptureArea
{
    std::function<void(double)> onScroll;
};

/// Tells the area how far a motion scrolled, unless it is mainly a horizontal one or passed beside the chart.
/// The motion goes its own way in any case.
void capture(const ChartScrollWheelCaptureArea &area, const ScrollMotion &motion);

} // namespace gateway::state
