#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"

#include <QCoro/QCoroTask>

#include <chrono>
#include <coroutine>
#include <stop_token>
#include <utility>

namespace gateway::platform {

/// Lets a coroutine of the main thread sleep on a clock; no thread is taken for it.
///
/// Thread: main.
class AwaitableSleep
{
public:
    AwaitableSleep(MainExecutor &main, Clock &clock, std::chrono::nanoseconds duration, std::stop_token stop)
        : m_main(main), m_clock(clock), m_duration(duration), m_stop(std::move(stop))
    {
    }

    bool await_ready() const noexcept { return false; }

    void await_suspend(std::coroutine_handle<> waiting)
    {
        m_clock.wakeAfter(m_duration, m_stop, [this, waiting](bool sleptThrough) {
            m_sleptThrough = sleptThrough;
            m_main.post([waiting] { waiting.resume(); });
        });
    }

    bool await_resume() const noexcept { return m_sleptThrough; }

private:
    MainExecutor &m_main;
    Clock &m_clock;
    const std::chrono::nanoseconds m_duration;
    const std::stop_token m_stop;
    bool m_sleptThrough = false; // written before the post, read behind it
};

/// Sleeps for `duration`, or until `stop` is requested. main and clock outlive the sleep.
///
/// \return true when the whole duration has passed, false when stopped before.
inline QCoro::Task<bool>
asyncSleep(MainExecutor &main, Clock &clock, std::chrono::nanoseconds duration, std::stop_token stop)
{
    AwaitableSleep sleep(main, clock, duration, std::move(stop));
    const bool sleptThrough = co_await sleep;
    co_return sleptThrough;
}

} // namespace gateway::platform
