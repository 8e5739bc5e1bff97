#pragma once

#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/unawaited.h"

#include <QCoro/QCoroTask>

#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace gateway::platform {

/// Who asks, and for how long the answer is waited for. Both outlive the wait.
struct Patience
{
    MainExecutor &main;
    Clock &clock;
    std::chrono::nanoseconds limit;
};

/// Asks something that may never answer, such as a share that is dead, on a thread of its own, and resumes on
/// the main thread. A question that is given up keeps its thread until it is answered after all.
///
/// \param name      thread name, at most 15 characters.
/// \param question  holds nothing that dies before it; throws nothing.
/// \return nothing when no answer came in time, or before `stop` was requested.
///
/// Thread: main.
template <typename Question>
QCoro::Task<std::optional<std::invoke_result_t<Question>>>
askPatiently(Patience patience, const char *name, Question question, std::stop_token stop)
{
    struct Asked
    {
        Mutex mutex;
        std::optional<std::invoke_result_t<Question>> answer QUORIN_GUARDED_BY(mutex);
        std::stop_source over; // answered, or given up
    };
    const auto asked = std::make_shared<Asked>();
    runUnawaited(name, [asked, question = std::move(question)] {
        auto answer = question();
        {
            const MutexLock lock(asked->mutex);
            asked->answer.emplace(std::move(answer));
        }
        asked->over.request_stop();
    });
    const std::stop_callback whenStopped(stop, [asked] { asked->over.request_stop(); });
    co_await asyncSleep(patience.main, patience.clock, patience.limit, asked->over.get_token());
    const MutexLock lock(asked->mutex);
    co_return std::move(asked->answer);
}

} // namespace gateway::platform
