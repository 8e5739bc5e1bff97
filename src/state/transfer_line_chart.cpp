#include "state/transfer_line_chart.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace gateway::state {

namespace {

const std::vector<double> kOverlapDash = {6, 4};

// A notch of a plain wheel counts like so many points of a precise device.
constexpr double kPointsOfANotch = 10;

QString receivedName()
{
    return QStringLiteral("Received");
}

QString sentName()
{
    return QStringLiteral("Sent");
}

std::int64_t sumOf(const std::vector<std::int64_t> &series)
{
    return std::accumulate(series.begin(), series.end(), std::int64_t{0});
}

} // namespace

bool linesOverlap(const std::vector<std::int64_t> &received, const std::vector<std::int64_t> &sent)
{
    const std::size_t both = std::min(received.size(), sent.size());
    for (std::size_t i = 0; i < both; ++i) {
        if (received[i] == sent[i]) {
            return true;
        }
    }
    return false;
}

ChartParts partsOf(const TransferLineChart &chart, const std::optional<ChartHoverPoint> &hovered)
{
    const std::int64_t scale = sharedScale(chart.received, chart.sent);
    const bool overlap = linesOverlap(chart.received, chart.sent);
    const double offset = overlap ? chart.overlapSeparation : 0;
    const auto longest = static_cast<std::int64_t>(std::max(chart.received.size(), chart.sent.size()));

    ChartParts parts;
    parts.received = {chart.received, scale, ChartColor::blue, std::nullopt, -offset};
    parts.sent = {chart.sent, scale, ChartColor::green, std::nullopt, offset};
    if (overlap) {
        parts.sent.dash = kOverlapDash;
    }
    parts.dots = {
        chart.received, chart.sent, scale, chart.timeframe, chart.windowStart, chart.bucketDuration, hovered};
    parts.yLabels.maxValue = scale;
    parts.xLabels.valuesCount = longest;
    parts.xLabels.timeframe = chart.timeframe;
    parts.xLabels.windowStart = chart.windowStart;
    parts.xLabels.bucketDuration = chart.bucketDuration;
    return parts;
}

std::array<SummaryPill, 2> summaryPills(const std::vector<std::int64_t> &received,
                                        const std::vector<std::int64_t> &sent)
{
    return {SummaryPill{receivedName(), sumOf(received), ChartColor::blue},
            SummaryPill{sentName(), sumOf(sent), ChartColor::green}};
}

std::array<LegendItem, 2> legendItems()
{
    return {LegendItem{receivedName(), ChartColor::blue}, LegendItem{sentName(), ChartColor::green}};
}

void capture(const ChartScrollWheelCaptureArea &area, const ScrollMotion &motion)
{
    if (!motion.isOverChart || !area.onScroll) {
        return;
    }
    const double distance = motion.hasPreciseDeltas ? motion.deltaY : motion.deltaY * kPointsOfANotch;
    if (std::abs(motion.deltaX) < std::abs(distance)) {
        area.onScroll(distance);
    }
}

} // namespace gateway::state
