#include "state/chart_scale.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace gateway::state {

namespace {

constexpr std::int64_t kSmallestScale = 5;
constexpr std::int64_t kTen = 10;

std::int64_t largest(const std::vector<std::int64_t> &series)
{
    return series.empty() ? 0 : *std::max_element(series.begin(), series.end());
}

} // namespace

std::int64_t niceMax(std::int64_t rawMax)
{
    const std::int64_t value = std::max(rawMax, kSmallestScale);
    std::int64_t power = 1;
    while (value / power >= kTen) {
        power *= kTen;
    }
    // Quotients rounded up, so that no product can overflow before it is known to fit.
    const std::int64_t times = value / power + (value % power == 0 ? 0 : 1);
    for (const std::int64_t step : {1, 2, 5}) {
        if (times <= step) {
            return power * step;
        }
    }
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    return power > kMost / kTen ? kMost : power * kTen;
}

std::int64_t sharedScale(const std::vector<std::int64_t> &received, const std::vector<std::int64_t> &sent)
{
    return niceMax(std::max(largest(received), largest(sent)));
}

QStringList texts(const ChartYAxisLabels &labels, const QLocale &locale)
{
    const int steps = std::max(labels.tickCount - 1, 1);
    QStringList list;
    for (int i = 0; i < labels.tickCount; ++i) {
        const double share = static_cast<double>(steps - i) / steps;
        list.append(locale.toString(std::llround(static_cast<double>(labels.maxValue) * share)));
    }
    return list;
}

double plotHeight(double chartHeight)
{
    return chartHeight - kXLabelRowHeight - kXLabelRowSpacing;
}

} // namespace gateway::state
