#include "platform/concurrency/clock.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace gateway::platform {

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTimeUtc();
}

std::chrono::nanoseconds SystemClock::monotonic() const
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

bool SystemClock::sleep(std::chrono::nanoseconds duration, std::stop_token stop)
{
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    return !stopped.wait_for(lock, stop, duration, [&stop] { return stop.stop_requested(); });
}

void SystemClock::wakeAfter(std::chrono::nanoseconds duration, const std::stop_token &stop, WakeUp::Tell tell)
{
    m_timer.add(std::make_unique<WakeUp>(monotonic() + duration, stop, std::move(tell)));
}

} // namespace gateway::platform
