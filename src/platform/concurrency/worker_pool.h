#pragma once

#include "platform/concurrency/mutex.h"

#include <QtCore/QString>

#include <deque>
#include <functional>
#include <thread>
#include <vector>

namespace gateway::platform {

/// A fixed number of named threads that share one queue of work: the global queue of the program.
///
/// Thread: any. The destructor runs what is queued and joins; it must not run on a worker.
class WorkerPool
{
public:
    /// \param name   prefix of the threads' names.
    /// \param width  number of threads, at least 1.
    WorkerPool(const QString &name, int width);
    ~WorkerPool();

    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    int width() const { return static_cast<int>(m_threads.size()); }

    /// Queues `work` and returns at once. Work may block; it then takes its thread for that long.
    void run(std::function<void()> work);

    /// Blocks until nothing is queued and nothing runs.
    void waitUntilIdle();

private:
    bool take(std::function<void()> &work);
    void work();

    Mutex m_mutex;
    Condition m_wake;
    Condition m_idle;
    std::deque<std::function<void()>> m_queue QUORIN_GUARDED_BY(m_mutex);
    int m_running QUORIN_GUARDED_BY(m_mutex) = 0;
    bool m_closing QUORIN_GUARDED_BY(m_mutex) = false;
    std::vector<std::thread> m_threads; // last: started once the fields above stand
};

} // namespace gateway::platform
