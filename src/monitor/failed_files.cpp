#include "monitor/failed_files.h"

namespace gateway::monitor {

void FailedFiles::refresh()
{
    const std::chrono::nanoseconds now = m_with.clock.monotonic();
    if (m_isCounting || (m_askedAt && now - *m_askedAt < kFresh)) {
        return;
    }
    m_isCounting = true;
    m_askedAt = now;
    m_with.pool.run([weak = weak_from_this(), &main = m_with.main, count = m_with.count] {
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
