#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/patient_question.h"

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
    struct Reins
    {
        Pulse pulse{0};
        std::stop_source givenUp;
    };
    const auto reins = std::make_shared<Reins>();
    const auto asked = platform::askAside("import-source", [reins, look = std::move(look)] {
        return look(reins->givenUp.get_token(), reins->pulse);
    });
    const std::stop_callback whenStopped(stop, [asked] { asked->over.request_stop(); });
    quint64 seen = 0;
    do {
        seen = reins->pulse;
    } while (clock.sleep(kLongestSilence, asked->over.get_token()) && reins->pulse != seen);
    reins->givenUp.request_stop();
    const platform::MutexLock lock(asked->mutex);
    return std::move(asked->answer);
}

} // namespace gateway::receive
