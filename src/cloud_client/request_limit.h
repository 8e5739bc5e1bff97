#pragma once

#include "platform/concurrency/mutex.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <chrono>
#include <limits>

namespace gateway::platform {
class Clock;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::cloud_client {

inline constexpr auto kRequestLimitKey = "QuorinAPI.RequestLimit";

/// From what size on a service refuses requests (413), as far as that was learnt: no batch needs to reach it
/// again.
///
/// Whoever runs the service may have raised it, or what refused stood on the way for a moment. So it doubles
/// after some requests that were taken; where that was in vain, after twice as many the next time. It is
/// forgotten when a request of that size is taken, and some days after it was learnt. Nobody but a batch of
/// several goes by it.
///
/// Owner: QuorinApiClient. Thread: any.
class RequestLimit
{
public:
    /// After how many requests that were taken the limit is tried upward, at first and at most.
    static constexpr int kFirstPatience = 16;
    static constexpr int kLongestPatience = 1024;

    /// For how long a limit counts.
    static constexpr std::chrono::hours kMemory{7 * 24};

    /// \param service   names the service; what was learnt of another one doesn't count.
    /// \param clock     outlives this, as the defaults do.
    /// \param defaults  where it outlives the process; none to keep it for this run alone.
    RequestLimit(QString service, const platform::Clock &clock, platform::UserDefaults *defaults);

    /// True where a request of so many bytes would be refused.
    bool isReachedBy(qint64 size) const;

    /// Learns that one was refused for its size.
    void refused(qint64 size);

    /// Learns that one wasn't.
    void taken(qint64 size);

private:
    void load();
    void keep() const QUORIN_REQUIRES(m_mutex);

    const QString m_service;
    const platform::Clock &m_clock;
    platform::UserDefaults *const m_defaults;
    mutable platform::Mutex m_mutex;
    qint64 m_size QUORIN_GUARDED_BY(m_mutex) = std::numeric_limits<qint64>::max();
    QDateTime m_learntAt QUORIN_GUARDED_BY(m_mutex);
    int m_patience QUORIN_GUARDED_BY(m_mutex) = kFirstPatience;
    int m_taken QUORIN_GUARDED_BY(m_mutex) = 0;        // since the limit was learnt or doubled
    bool m_isTrial QUORIN_GUARDED_BY(m_mutex) = false; // it was doubled, and nothing was refused since
};

} // namespace gateway::cloud_client
