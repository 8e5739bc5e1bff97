#include "platform/concurrency/task_group.h"

#include <algorithm>
#include <utility>

namespace gateway::platform {

TaskGroup::TaskGroup(WorkerPool &pool, int width, std::stop_token parent)
    : m_pool(pool), m_width(std::max(width, 1)),
      m_parentStop(std::move(parent), [this] { m_stop.request_stop(); })
{
}

TaskGroup::~TaskGroup()
{
    cancel();
    wait();
}

void TaskGroup::waitForRoom()
{
    const MutexLock lock(m_mutex);
    while (m_running >= m_width) {
        m_changed.wait(m_mutex);
    }
}

void TaskGroup::add(std::function<void(std::stop_token)> child)
{
    {
        const MutexLock lock(m_mutex);
        while (m_running >= m_width) {
            m_changed.wait(m_mutex);
        }
        ++m_running;
    }
    m_pool.run([this, child = std::move(child), stop = m_stop.get_token()]() mutable {
        child(std::move(stop));
        child = nullptr; // what the child held is gone when the group has ended
        const MutexLock lock(m_mutex);
        --m_running;
        m_changed.notifyAll(); // under the lock: the group may be gone as soon as its owner sees zero
    });
}

void TaskGroup::cancel()
{
    m_stop.request_stop();
}

void TaskGroup::wait()
{
    const MutexLock lock(m_mutex);
    while (m_running > 0) {
        m_changed.wait(m_mutex);
    }
}

} // namespace gateway::platform
