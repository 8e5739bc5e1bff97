#pragma once

#include "platform/concurrency/mutex.h"

namespace gateway::platform::testing {

/// A door at which a fake's calls can be made to wait. Thread: any.
class Gate
{
public:
    /// Makes calls wait, or lets them go on.
    void hold(bool isHeld)
    {
        const MutexLock lock(m_mutex);
        m_isHeld = isHeld;
        m_changed.notifyAll();
    }

    /// Comes back while nothing is held.
    void pass()
    {
        const MutexLock lock(m_mutex);
        while (m_isHeld) {
            m_changed.wait(m_mutex);
        }
    }

private:
    Mutex m_mutex;
    Condition m_changed;
    bool m_isHeld QUORIN_GUARDED_BY(m_mutex) = false;
};

} // namespace gateway::platform::testing
