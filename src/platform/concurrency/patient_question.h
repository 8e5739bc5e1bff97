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

/// A question that was asked on a thread of its own, and its answer once that has come. Thread: any.
template <typename Answer>
struct Asked
{
    Mutex mutex;
    std::optional<Answer> answer QUORIN_GUARDED_BY(mutex);
    std::stop_source over; ///< answered, or given up
};

/// Asks something that may never answer, such as a share that is dead, on a thread of its own, and returns at
/// once. A question that is given up keeps its thread until it is answered after all. Thread: any.
///
/// \param name      thread name, at most 15 characters.
/// \param question  holds nothing that dies before it; throws nothing.
template <typename Question>
std::shared_ptr<Asked<std::invoke_result_t<Question>>> askAside(const char *name, Question question)
{
    const auto asked = std::make_shared<Asked<std::invoke_result_t<Question>>>();
    runUnawaited(name, [asked, question = std::move(question)] {
        auto answer = question();
        {
            const MutexLock lock(asked->mutex);
            asked->answer.emplace(std::move(answer));
        }
        asked->over.request_stop();
    });
    return asked;
}

/// Asks as `askAside`, and resumes on the main thread.
///
/// \return nothing when no answer came in time, or before `stop` was requested.
///
/// Thread: main.
template <typename Question>
QCoro::Task<std::optional<std::invoke_result_t<Question>>>
askPatiently(Patience patience, const char *name, Question question, std::stop_token stop)
{
    const auto asked = askAside(name, std::move(question));
    const std::stop_callback whenStopped(stop, [asked] { asked->over.request_stop(); });
    co_await asyncSleep(patience.main, patience.clock, patience.limit, asked->over.get_token());
    const MutexLock lock(asked->mutex);
    co_return std::move(asked->answer);
}

} // namespace gateway::platform
