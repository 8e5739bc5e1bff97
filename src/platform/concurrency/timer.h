#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/concurrency/task.h"
#include "platform/concurrency/wake_up.h"

#include <chrono>
#include <list>
#include <memory>

namespace gateway::platform {

/// Ends waits when their time comes: one thread for all of them, started with the first.
///
/// Owner: SystemClock. Thread: any. The destructor forgets what waits still.
class Timer
{
public:
    Timer() = default;
    ~Timer();

    Timer(const Timer &) = delete;
    Timer &operator=(const Timer &) = delete;

    /// Takes a wait whose end is a reading of the steady clock.
    void add(std::unique_ptr<WakeUp> wait);

private:
    using Waits = std::list<std::unique_ptr<WakeUp>>;

    void run(const std::stop_token &stop);
    Waits takeRipe() QUORIN_REQUIRES(m_mutex);
    std::chrono::steady_clock::time_point nextLook() const QUORIN_REQUIRES(m_mutex);

    Mutex m_mutex;
    Condition m_changed;
    Waits m_waits QUORIN_GUARDED_BY(m_mutex);
    bool m_isStarted QUORIN_GUARDED_BY(m_mutex) = false;
    Task m_task; // last: joined before the fields go
};

} // namespace gateway::platform
