#include "platform/concurrency/task.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <optional>

namespace gateway::platform {

namespace {

void waitForStop(const std::stop_token &stop)
{
    std::latch stopped(1);
    const std::stop_callback callback(stop, [&] { stopped.count_down(); });
    stopped.wait();
}

} // namespace

TEST(Task, RunsItsBodyAndCanBeJoined)
{
    bool ran = false;
    Task task("test", [&](const std::stop_token &) { ran = true; });

    EXPECT_TRUE(task.isSet());
    task.join();

    EXPECT_TRUE(ran);
    EXPECT_FALSE(task.isSet());
}

TEST(Task, CancelReachesTheBodysToken)
{
    std::atomic<bool> stopped = false;
    Task task("test", [&](const std::stop_token &stop) {
        waitForStop(stop);
        stopped = true;
    });

    task.cancel();
    task.join();

    EXPECT_TRUE(stopped);
}

TEST(Task, DyingStopsAndJoinsTheBody)
{
    bool ended = false;
    {
        const Task task("test", [&](const std::stop_token &stop) {
            waitForStop(stop);
            ended = true;
        });
    }

    EXPECT_TRUE(ended);
}

TEST(Task, AnAssignmentEndsTheBodyThatWasThere)
{
    bool firstEnded = false;
    bool secondRan = false;
    Task task("first", [&](const std::stop_token &stop) {
        waitForStop(stop);
        firstEnded = true;
    });

    task = Task("second", [&](const std::stop_token &) { secondRan = true; });
    EXPECT_TRUE(firstEnded);
    task.join();

    EXPECT_TRUE(secondRan);
}

TEST(Task, TheLastOwnerMayDieInsideItsOwnTask)
{
    struct Owner
    {
        explicit Owner(std::latch &latch) : gone(latch) {}
        ~Owner() { gone.count_down(); }
        std::latch &gone;
        std::optional<Task> task;
    };
    std::latch gone(1);
    std::latch started(1);

    auto owner = std::make_shared<Owner>(gone);
    owner->task.emplace("test", [&started, keepAlive = owner](const std::stop_token &) mutable {
        started.wait();
        keepAlive.reset();
    });
    owner.reset();
    started.count_down();

    gone.wait(); // hangs if the task joined itself
}

TEST(Task, AnEmptyHandleMayBeCancelledAndJoined)
{
    Task task;

    task.cancel();
    task.join();

    EXPECT_FALSE(task.isSet());
}

} // namespace gateway::platform
