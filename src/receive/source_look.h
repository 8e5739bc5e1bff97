#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/unawaited.h"

#include <QtCore/QtGlobal>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace gateway::receive {

/// Counts what a look has got done, which tells a slow disk from one that doesn't answer. Thread: any.
using Pulse = std::atomic<quint64>;

/// How long a disk may take for one step. A scratched disc takes half a minute, and a tape some more.
inline constexpr std::chrono::minutes kLongestSilence{2};

/// Looks at a disk that may never answer, such as that of a share which is dead, on a thread of its own, and
/// blocks until it has looked. A look that is given up keeps its thread until the disk answers after all,
/// and what it brings then is dropped.
///
/// \param clock  outlives the call.
/// \param look   takes a stop token and a Pulse; holds nothing that dies before it; throws nothing.
/// \return nothing when `stop` was requested first, or when nothing was got done for `kLongestSilence`.
///
/// Thread: any but main.
template <typename Look>
std::optional<std::invoke_result_t<Look, std::stop_token, Pulse &>>
lookPatiently(platform::Clock &clock, Look look, const std::stop_token &stop)
{
    struct Looked
    {
        Pulse pulse{0};
        platform::Mutex mutex;
        std::optional<std::invoke_result_t<Look, std::stop_token, Pulse &>> answer QUORIN_GUARDED_BY(mutex);
        std::stop_source over; // answered, or given up
    };
    const auto looked = std::make_shared<Looked>();
    const std::stop_callback whenStopped(stop, [looked] { looked->over.request_stop(); });
    platform::runUnawaited("import-source", [looked, look = std::move(look)] {
        auto answer = look(looked->over.get_token(), looked->pulse);
        {
            const platform::MutexLock lock(looked->mutex);
            looked->answer.emplace(std::move(answer));
        }
        looked->over.request_stop();
    });
    quint64 seen = 0;
    do {
        seen = looked->pulse;
    } while (clock.sleep(kLongestSilence, looked->over.get_token()) && looked->pulse != seen);
    looked->over.request_stop();
    const platform::MutexLock lock(looked->mutex);
    return std::move(looked->answer);
}

} // namespace gateway::receive
