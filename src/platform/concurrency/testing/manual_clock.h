#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"

#include <list>
#include <memory>

namespace gateway::platform::testing {

/// A clock that moves only when a test says so.
///
/// Thread: any; sleepers may wait on any thread while a test advances the clock from another.
class ManualClock final : public Clock
{
public:
    explicit ManualClock(QDateTime start = QDateTime(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC));
    ~ManualClock() override;

    QDateTime now() const override;
    std::chrono::nanoseconds monotonic() const override;
    bool sleep(std::chrono::nanoseconds duration, std::stop_token stop) override;
    void
    wakeAfter(std::chrono::nanoseconds duration, const std::stop_token &stop, WakeUp::Tell tell) override;

    /// Moves both clocks forward and wakes every sleeper whose time has come; those without a thread have
    /// been told when this returns.
    void advance(std::chrono::nanoseconds duration);

    /// Blocks until at least `count` sleep on this clock, with a thread or without. Ends the program, saying
    /// so, when they don't come.
    void waitForSleepers(int count) const;

private:
    /// A thread; one whose time has come may be here yet, on a busy machine for a while.
    struct Sleeper
    {
        std::chrono::nanoseconds end;
        std::stop_token stop;
    };

    mutable Mutex m_mutex;
    mutable Condition m_changed;
    QDateTime m_start;
    std::chrono::nanoseconds m_elapsed QUORIN_GUARDED_BY(m_mutex){0};
    std::list<Sleeper> m_sleepers QUORIN_GUARDED_BY(m_mutex);
    std::list<std::unique_ptr<WakeUp>> m_waits QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::platform::testing
