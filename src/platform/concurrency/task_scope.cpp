#include "platform/concurrency/task_scope.h"

#include <thread>

namespace gateway::platform {

void TaskScope::start(QCoro::Task<> task)
{
    // The frame of a task that nobody holds goes when the task ends.
    static_cast<void>(follow(std::move(task)));
}

QCoro::Task<> TaskScope::follow(QCoro::Task<> task)
{
    const Operation operation = enter();
    co_await task;
}

void TaskScope::close()
{
    m_stop.request_stop();
    while (m_underWay > 0) {
        m_pool.waitUntilIdle();
        m_main.drain();
        std::this_thread::yield(); // a sleeper that was just stopped has yet to post
    }
}

} // namespace gateway::platform
