#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/mutex.h"

#include <chrono>
#include <optional>

namespace gateway::cloud_client {

/// Whether a service leaves queries unanswered, while it may well take images: each such question costs a
/// whole time limit, so that one behind each upload would hold up all others. Behind one that got no answer
/// none is asked for a while.
///
/// Owner: QuorinApiClient. Thread: any.
class QuerySilence
{
public:
    /// For how long no other query is asked.
    static constexpr std::chrono::minutes kPause{5};

    /// \param clock  outlives this.
    explicit QuerySilence(const platform::Clock &clock) : m_clock(clock) {}

    bool isToBeExpected() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_since && m_clock.monotonic() - *m_since < kPause;
    }

    /// Learns that a query wasn't answered in time.
    void begin()
    {
        const platform::MutexLock lock(m_mutex);
        m_since = m_clock.monotonic();
    }

private:
    const platform::Clock &m_clock;
    mutable platform::Mutex m_mutex;
    std::optional<std::chrono::nanoseconds> m_since QUORIN_GUARDED_BY(m_mutex); // of the monotonic clock
};

} // namespace gateway::cloud_client
