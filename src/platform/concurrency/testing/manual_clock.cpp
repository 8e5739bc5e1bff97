#include "platform/concurrency/testing/manual_clock.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace gateway::platform::testing {

namespace {

/// Of real time: nothing that a test waits for takes as long on the busiest machine.
constexpr std::chrono::seconds kGiveUp{60};

} // namespace

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
    const auto self = m_sleepers.insert(m_sleepers.end(), {end, stop});
    m_changed.notifyAll();
    while (m_elapsed < end && !stop.stop_requested()) {
        m_changed.wait(m_mutex);
    }
    m_sleepers.erase(self);
    return m_elapsed >= end;
}

void ManualClock::wakeAfter(std::chrono::nanoseconds duration, const std::stop_token &stop, WakeUp::Tell tell)
{
    auto wait = std::make_unique<WakeUp>(monotonic() + duration, stop, std::move(tell));
    {
        const MutexLock lock(m_mutex);
        if (wait->end() > m_elapsed) {
            m_waits.push_back(std::move(wait));
            m_changed.notifyAll();
            return;
        }
    }
    wait->finish(true);
}

void ManualClock::advance(std::chrono::nanoseconds duration)
{
    std::list<std::unique_ptr<WakeUp>> ripe; // told outside the lock: they may sleep again at once
    {
        const MutexLock lock(m_mutex);
        m_elapsed += duration;
        for (auto wait = m_waits.begin(); wait != m_waits.end();) {
            const auto next = std::next(wait);
            if ((*wait)->isOver() || (*wait)->end() <= m_elapsed) {
                ripe.splice(ripe.end(), m_waits, wait);
            }
            wait = next;
        }
        m_changed.notifyAll();
    }
    for (const auto &wait : ripe) {
        wait->finish(true);
    }
}

void ManualClock::waitForSleepers(int count) const
{
    const auto end = std::chrono::steady_clock::now() + kGiveUp;
    const MutexLock lock(m_mutex);
    const auto sleepers = [&]() QUORIN_REQUIRES(m_mutex) {
        const auto goesOn = [&](const Sleeper &one) QUORIN_REQUIRES(m_mutex) {
            return one.end > m_elapsed && !one.stop.stop_requested();
        };
        return std::ranges::count_if(m_sleepers, goesOn) +
               std::ranges::count_if(m_waits, [](const auto &wait) { return !wait->isOver(); });
    };
    while (sleepers() < count) {
        if (std::chrono::steady_clock::now() >= end) {
            std::fprintf(stderr, "ManualClock: %td of %d sleep\n", std::ptrdiff_t{sleepers()}, count);
            std::abort(); // what was to sleep went on without: the test that waits for it can't end well
        }
        m_changed.waitUntil(m_mutex, end);
    }
}

} // namespace gateway::platform::testing
