#include "platform/concurrency/worker_pool.h"

#include "platform/concurrency/thread_traits.h"

#include <algorithm>
#include <utility>

namespace gateway::platform {

WorkerPool::WorkerPool(const QString &name, int width)
{
    const int threads = std::max(width, 1);
    m_threads.reserve(static_cast<std::size_t>(threads));
    for (int i = 1; i <= threads; ++i) {
        m_threads.emplace_back([this, threadName = QStringLiteral("%1-%2").arg(name).arg(i)] {
            nameThisThread(threadName);
            work();
        });
    }
}

WorkerPool::~WorkerPool()
{
    {
        const MutexLock lock(m_mutex);
        m_closing = true;
        m_wake.notifyAll();
    }
    for (std::thread &thread : m_threads) {
        thread.join();
    }
}

void WorkerPool::run(std::function<void()> work)
{
    const MutexLock lock(m_mutex);
    m_queue.push_back(std::move(work));
    m_wake.notifyOne();
}

void WorkerPool::waitUntilIdle()
{
    const MutexLock lock(m_mutex);
    while (!m_queue.empty() || m_running > 0) {
        m_idle.wait(m_mutex);
    }
}

bool WorkerPool::take(std::function<void()> &work)
{
    const MutexLock lock(m_mutex);
    while (m_queue.empty() && !m_closing) {
        m_wake.wait(m_mutex);
    }
    if (m_queue.empty()) {
        return false;
    }
    work = std::move(m_queue.front());
    m_queue.pop_front();
    ++m_running;
    return true;
}

void WorkerPool::work()
{
    std::function<void()> work;
    while (take(work)) {
        work();
        work = nullptr; // before the count falls: what the work held is gone when the pool is idle
        const MutexLock lock(m_mutex);
        --m_running;
        if (m_queue.empty() && m_running == 0) {
            m_idle.notifyAll();
        }
    }
}

} // namespace gateway::platform
