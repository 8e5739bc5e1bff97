#pragma once

#include <QtCore/QCoreApplication>

#include <thread>

namespace gateway::platform::testing {

/// What tests inherit that drive the main thread themselves. Thread: main.
struct RunsMain
{
    /// Runs the main thread until `isReached` says so.
    template <typename Condition>
    static void runUntil(const Condition &isReached)
    {
        while (!isReached()) {
            QCoreApplication::processEvents();
            std::this_thread::yield();
        }
    }

    /// Runs the main thread until `task` is done.
    template <typename Task>
    static void finish(const Task &task)
    {
        runUntil([&] { return task.isReady(); });
    }
};

} // namespace gateway::platform::testing
