#pragma once

#include "platform/concurrency/timer.h"

#include <QtCore/QDateTime>

#include <chrono>
#include <stop_token>

namespace gateway::platform {

/// The time and the waiting of everything that must run on a manual clock in tests.
///
/// Thread: any.
class Clock
{
public:
    virtual ~Clock() = default;

    /// The wall clock, in UTC.
    virtual QDateTime now() const = 0;

    /// A clock that never goes back; only differences mean anything.
    virtual std::chrono::nanoseconds monotonic() const = 0;

    /// Blocks the calling thread for `duration`, or until `stop` is requested.
    ///
    /// \return true when the whole duration has passed, false when stopped before.
    virtual bool sleep(std::chrono::nanoseconds duration, std::stop_token stop) = 0;

    /// The same without a thread that blocks: returns at once, and calls `tell` once with what `sleep` would
    /// return. The clock outlives the wait.
    ///
    /// \param tell  called on any thread, perhaps within this call; brief, and never throws.
    virtual void
    wakeAfter(std::chrono::nanoseconds duration, const std::stop_token &stop, WakeUp::Tell tell) = 0;
};

/// The machine's clocks.
class SystemClock final : public Clock
{
public:
    QDateTime now() const override;
    std::chrono::nanoseconds monotonic() const override;
    bool sleep(std::chrono::nanoseconds duration, std::stop_token stop) override;
    void
    wakeAfter(std::chrono::nanoseconds duration, const std::stop_token &stop, WakeUp::Tell tell) override;

private:
    Timer m_timer;
};

} // namespace gateway::platform
