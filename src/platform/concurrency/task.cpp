#include "platform/concurrency/task.h"

#include "platform/concurrency/thread_traits.h"

#include <utility>

namespace gateway::platform {

Task::Task(const char *name, Body body)
    : m_thread([threadName = QString::fromUtf8(name), body = std::move(body)](std::stop_token stop) {
          nameThisThread(threadName);
          body(std::move(stop));
      })
{
}

Task::~Task()
{
    end();
}

Task &Task::operator=(Task &&other) noexcept
{
    if (this != &other) {
        end();
        m_thread = std::move(other.m_thread);
    }
    return *this;
}

void Task::cancel()
{
    m_thread.request_stop();
}

void Task::join()
{
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Task::end()
{
    if (!m_thread.joinable()) {
        return;
    }
    m_thread.request_stop();
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

} // namespace gateway::platform
