#include "index/storage_retry.h"

#include <algorithm>

namespace gateway::index {

bool StorageRetry::pause()
{
    constexpr std::chrono::milliseconds kLongest = std::chrono::seconds(5);
    const auto duration = std::min(m_next, m_left);
    if (duration <= std::chrono::milliseconds(0)) {
        return false;
    }
    m_left -= duration;
    m_next = std::min(m_next * 2, kLongest);
    return m_clock.sleep(duration, m_stop);
}

} // namespace gateway::index
