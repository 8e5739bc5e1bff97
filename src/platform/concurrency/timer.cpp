#include "platform/concurrency/timer.h"

#include <algorithm>
#include <utility>

namespace gateway::platform {

namespace {

// A look without a reason costs nothing; one that is missed would be a wait without an end.
constexpr std::chrono::hours kLongestRest{1};

} // namespace

Timer::~Timer()
{
    m_task.cancel();
    {
        const MutexLock lock(m_mutex);
        m_changed.notifyAll();
    }
    m_task.join();
}

void Timer::add(std::unique_ptr<WakeUp> wait)
{
    const MutexLock lock(m_mutex);
    m_waits.push_back(std::move(wait));
    m_changed.notifyAll();
    if (!std::exchange(m_isStarted, true)) {
        m_task = Task("timer", [this](const std::stop_token &stop) { run(stop); });
    }
}

void Timer::run(const std::stop_token &stop)
{
    while (!stop.stop_requested()) {
        Waits ripe; // told, and gone, outside the lock: who stops one meanwhile is waited for
        {
            const MutexLock lock(m_mutex);
            ripe = takeRipe();
            if (ripe.empty() && !stop.stop_requested()) {
                m_changed.waitUntil(m_mutex, nextLook());
            }
        }
        for (const auto &wait : ripe) {
            wait->finish(true);
        }
    }
}

/// Takes those out whose time has come, and those that were stopped.
Timer::Waits Timer::takeRipe()
{
    const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
    Waits ripe;
    for (auto wait = m_waits.begin(); wait != m_waits.end();) {
        const auto next = std::next(wait);
        if ((*wait)->isOver() || (*wait)->end() <= now) {
            ripe.splice(ripe.end(), m_waits, wait);
        }
        wait = next;
    }
    return ripe;
}

std::chrono::steady_clock::time_point Timer::nextLook() const
{
    auto look = std::chrono::steady_clock::now() + kLongestRest;
    for (const auto &wait : m_waits) {
        look = std::min(look, std::chrono::steady_clock::time_point(wait->end()));
    }
    return look;
}

} // namespace gateway::platform
