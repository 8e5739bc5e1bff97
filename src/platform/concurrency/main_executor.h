#pragma once

#include <functional>
#include <memory>

namespace gateway::platform {

/// The main thread, which is the Qt event loop's thread, as a place to send work to.
///
/// Made on the main thread, after the application object and before any other thread starts; dies after
/// every thread that posts. Blocks run from the event loop, a nested one included. Thread: `post` on any.
class MainExecutor
{
public:
    MainExecutor();
    ~MainExecutor();

    MainExecutor(const MainExecutor &) = delete;
    MainExecutor &operator=(const MainExecutor &) = delete;

    /// Queues `block` for the main thread. Blocks run in the order of their posting. What is still queued
    /// when the executor dies is dropped.
    void post(std::function<void()> block);

    /// Like `post`, but the block is dropped when `context` has died by the time its turn comes.
    void post(std::weak_ptr<const void> context, std::function<void()> block);

    /// True on the thread that made the executor.
    bool isCurrent() const;

    /// Runs what is queued until nothing is left. Main thread; for tests and for the end of the program.
    void drain();

private:
    class Inbox;
    std::unique_ptr<Inbox> m_inbox;
};

} // namespace gateway::platform
