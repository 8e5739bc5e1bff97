#include "platform/concurrency/testing/manual_clock.h"

#include <utility>

namespace gateway::platform::testing {

ManualClock::ManualClock(QDateTime start) : m_start(std::move(start)) {}

ManualClock::~ManualClock() = default;

QDateTime ManualClock::now() const
{
    return m_start.addMSecs(std::chrono::duration_cast<std::chrono::milliseconds>(monotonic()).count());
}

std::chrono::nanoseconds ManualClock::monotonic() const
{
    const MutexLock lock(m_mutex);
    return m_elapsed;
}

bool ManualClock::sleep(std::chrono::nanoseconds duration, std::stop_token stop)
{
    // Outside the lock: it may run in its own constructor, and its destructor waits for a running one.
    const std::stop_callback wake(stop, [this] {
        const MutexLock lock(m_mutex);
        m_changed.notifyAll();
    });
    const MutexLock lock(m_mutex);
    const auto end = m_elapsed + duration;
    ++m_sleepers;
    m_changed.notifyAll();
    while (m_elapsed < end && !stop.stop_requested()) {
        m_changed.wait(m_mutex);
    }
    --m_sleepers;
    return m_elapsed >= end;
}

void ManualClock::advance(std::chrono::nanoseconds duration)
{
    const MutexLock lock(m_mutex);
    m_elapsed += duration;
    m_changed.notifyAll();
}

void ManualClock::waitForSleepers(int count) const
{
    const MutexLock lock(m_mutex);
    while (m_sleepers < count) {
        m_changed.wait(m_mutex);
    }
}

} // namespace gateway::platform::testing
