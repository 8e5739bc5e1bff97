#pragma once

#include "platform/concurrency/async_sleep.h"

#include <QCoro/QCoroTask>

#include <chrono>
#include <functional>
#include <stop_token>

namespace gateway::account {

/// Takes a turn at once and then after each interval, until `stop` is requested; a turn that is under way
/// then is waited for.
///
/// \param turn  makes the coroutine of one turn. main and clock outlive the loop.
///
/// Thread: main.
inline QCoro::Task<> poll(platform::MainExecutor &main,
                          platform::Clock &clock,
                          std::chrono::seconds interval,
                          std::function<QCoro::Task<>()> turn,
                          std::stop_token stop)
{
    while (!stop.stop_requested()) {
        co_await turn();
        const bool sleptThrough = co_await platform::asyncSleep(main, clock, interval, stop);
        if (!sleptThrough) {
            break;
        }
    }
}

} // namespace gateway::account
