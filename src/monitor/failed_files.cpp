#include "monitor/failed_files.h"

namespace gateway::monitor {

void FailedFiles::refresh()
{
    const std::chrono::nanoseconds now = m_collaborators.clock.monotonic();
    if (m_isCounting || (m_askedAt && now - *m_askedAt < kFresh)) {
        return;
    }
    m_isCounting = true;
    m_askedAt = now;
    m_collaborators.pool.run(
        [weak = weak_from_this(), &main = m_collaborators.main, count = m_collaborators.count] {
            main.post([weak, counts = count()] {
                if (const auto self = weak.lock()) {
                    self->counted(counts);
                }
            });
        });
}

void FailedFiles::counted(const Counts &counts)
{
    m_isCounting = false;
    m_counts = counts;
}

} // namespace gateway::monitor
