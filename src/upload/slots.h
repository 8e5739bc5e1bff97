#pragma once

#include "platform/concurrency/mutex.h"

namespace gateway::upload {

/// A number of places for work of one kind. Thread: any.
class Slots
{
public:
    explicit Slots(int count) : m_free(count) {}

    /// Holds one place for a scope; its making blocks until one is free.
    class Hold
    {
    public:
        explicit Hold(Slots &slots) : m_slots(slots) { m_slots.take(); }
        ~Hold() { m_slots.giveBack(); }

        Hold(const Hold &) = delete;
        Hold &operator=(const Hold &) = delete;

    private:
        Slots &m_slots;
    };

private:
    void take()
    {
        const platform::MutexLock lock(m_mutex);
        while (m_free < 1) {
            m_changed.wait(m_mutex);
        }
        --m_free;
    }

    void giveBack()
    {
        const platform::MutexLock lock(m_mutex);
        ++m_free;
        m_changed.notifyOne();
    }

    platform::Mutex m_mutex;
    platform::Condition m_changed;
    int m_free QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::upload
