#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace gateway::cloud_client {

/// Whether a service leaves queries unanswered, or asks to be left alone with them, while it may well take
/// images: each unanswered question costs a whole time limit, so that one behind each upload would hold up
/// all others. Behind one that got no answer none is asked for a while, and behind one that was answered with
/// Retry-After (RFC 9110 10.2.3) none for as long as that, but no longer than that while: no person's request
/// and no sign-in ends it.
///
/// Owner: QuorinApiClient. Thread: any.
class QuerySilence
{
public:
    /// For how long no other query is asked at most.
    static constexpr std::chrono::minutes kPause{5};

    /// \param clock  outlives this.
    explicit QuerySilence(const platform::Clock &clock) : m_clock(clock) {}

    bool isToBeExpected() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_until && m_clock.monotonic() < *m_until;
    }

    /// Learns that a query wasn't answered in time, or for how long none is wanted.
    void begin(std::chrono::seconds pause = kPause)
    {
        const platform::MutexLock lock(m_mutex);
        const std::chrono::nanoseconds until =
            m_clock.monotonic() + std::min<std::chrono::seconds>(pause, kPause);
        m_until = std::max(until, m_until.value_or(until));
    }

private:
    const platform::Clock &m_clock;
    mutable platform::Mutex m_mutex;
    std::optional<std::chrono::nanoseconds> m_until QUORIN_GUARDED_BY(m_mutex); // of the monotonic clock
};

} // namespace gateway::cloud_client
