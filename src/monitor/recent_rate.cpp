#include "monitor/recent_rate.h"

namespace gateway::monitor {

void RecentRate::add(std::chrono::nanoseconds at, qint64 count)
{
    // Samples of one moment tell nothing about a rate.
    if (!m_samples.empty() && m_samples.back().at == at) {
        m_samples.pop_back();
    }
    m_samples.push_back({at, count});
    while (at - m_samples.front().at > kWindow) {
        m_samples.pop_front();
    }
}

double RecentRate::perSecond() const
{
    if (m_samples.size() < 2) {
        return 0;
    }
    const Sample &oldest = m_samples.front();
    const Sample &latest = m_samples.back();
    return static_cast<double>(latest.count - oldest.count) /
           std::chrono::duration<double>(latest.at - oldest.at).count();
}

} // namespace gateway::monitor
