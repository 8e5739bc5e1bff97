#pragma once

#include <functional>
#include <stop_token>
#include <thread>

namespace gateway::platform {

/// A unit of blocking background work on a thread of its own, which can be asked to stop and be joined.
///
/// Owner: holds it as the last member. Thread: any, one at a time. The destructor, and an assignment over a
/// body that still belongs to the handle, request the stop and join; on the task's own thread they detach
/// instead, so that the last owner of a graph may die inside its own task.
class Task
{
public:
    using Body = std::function<void(std::stop_token)>;

    Task() = default;

    /// Starts `body` at once.
    ///
    /// \param name  thread name, at most 15 characters.
    Task(const char *name, Body body);
    ~Task();

    Task(Task &&) noexcept = default;
    Task &operator=(Task &&other) noexcept;

    /// Asks the body to stop; returns at once.
    void cancel();

    /// Blocks until the body has returned; the handle is empty then.
    void join();

    /// True while a body belongs to this handle, finished or not; false once it was joined.
    bool isSet() const { return m_thread.joinable(); }

private:
    void end();

    std::jthread m_thread;
};

} // namespace gateway::platform
