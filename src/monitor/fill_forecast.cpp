#include "monitor/fill_forecast.h"

#include <algorithm>
#include <vector>

namespace gateway::monitor {

namespace {

using Seconds = std::chrono::duration<double>;

} // namespace

void FillForecast::add(std::chrono::nanoseconds at, qint64 freeBytes)
{
    m_latest = Sample{at, freeBytes};
    if (!m_kept.empty() && at - m_kept.back().at < kSpacing) {
        return;
    }
    m_kept.push_back(*m_latest);
    while (at - m_kept.front().at > kWindow) {
        m_kept.pop_front();
    }
}

std::optional<std::chrono::seconds> FillForecast::untilReserve(qint64 reserveBytes) const
{
    if (!m_latest) {
        return std::nullopt;
    }
    const auto left = static_cast<double>(m_latest->freeBytes - reserveBytes);
    if (left <= 0) {
        return std::chrono::seconds(0);
    }
    if (m_kept.back().at - m_kept.front().at < kShortest) {
        return std::nullopt;
    }
    const double rate = bytesPerSecond();
    if (rate >= 0 || left > -rate * Seconds(kFarthest).count()) {
        return std::nullopt;
    }
    return std::chrono::duration_cast<std::chrono::seconds>(Seconds(left / -rate));
}

/// How the free space changes: negative while the volume fills up.
double FillForecast::bytesPerSecond() const
{
    std::vector<double> slopes;
    slopes.reserve(m_kept.size() * (m_kept.size() - 1) / 2);
    for (auto later = m_kept.begin(); later != m_kept.end(); ++later) {
        for (auto earlier = m_kept.begin(); earlier != later; ++earlier) {
            slopes.push_back(static_cast<double>(later->freeBytes - earlier->freeBytes) /
                             Seconds(later->at - earlier->at).count());
        }
    }
    const auto middle = slopes.begin() + static_cast<std::ptrdiff_t>(slopes.size() / 2);
    std::nth_element(slopes.begin(), middle, slopes.end());
    return *middle;
}

} // namespace gateway::monitor
