#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/concurrency/worker_pool.h"

#include <cstddef>
#include <functional>
#include <stop_token>

namespace gateway::platform {

/// A sliding window of child tasks on a pool.
///
/// Thread: one thread drives the group; children run on the pool. The pool must be at least as wide as
/// the group, or children wait for one another. A child that was added runs, also after a cancel: it sees
/// the stop in its token. The destructor cancels and waits.
class TaskGroup
{
public:
    /// \param width  how many children may run at once, at least 1.
    TaskGroup(WorkerPool &pool, int width, std::stop_token parent);
    ~TaskGroup();

    TaskGroup(const TaskGroup &) = delete;
    TaskGroup &operator=(const TaskGroup &) = delete;

    /// Blocks while `width` children run, for a driver that has something to do before it adds the next one.
    void waitForRoom();

    /// Blocks while `width` children run, then starts `child` on the pool.
    void add(std::function<void(std::stop_token)> child);

    /// Asks all children to stop.
    void cancel();

    /// Blocks until every child has ended.
    void wait();

private:
    WorkerPool &m_pool;
    const int m_width;
    std::stop_source m_stop;
    std::stop_callback<std::function<void()>> m_parentStop;
    Mutex m_mutex;
    Condition m_changed;
    int m_running QUORIN_GUARDED_BY(m_mutex) = 0;
};

} // namespace gateway::platform
