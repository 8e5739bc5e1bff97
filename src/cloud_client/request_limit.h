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

/// How large a request is.
struct RequestExtent
{
    qint64 bytes = 0;
    qint64 instances = 0;
};

/// From what extent on a service refuses requests (413), as far as that was learnt: no batch needs to reach
/// it again. Services limit the bytes, or the instances, of a request, and don't say which: a refusal is
/// taken for one of the bytes unless as many were taken before, and never so many instances.
///
/// Whoever runs the service may have raised a limit, or what refused stood on the way for a moment. So it
/// doubles after some requests that were taken; where that was in vain, after twice as many the next time. It
/// is forgotten when a request of that extent is taken, and some days after it was learnt. Nobody but a batch
/// of several goes by it.
///
/// Owner: QuorinApiClient. Thread: any.
class RequestLimit
{
public:
    /// After how many requests that were taken a limit is tried upward, at first and at most.
    static constexpr int kFirstPatience = 16;
    static constexpr int kLongestPatience = 1024;

    /// For how long a limit counts.
    static constexpr std::chrono::hours kMemory{7 * 24};

    /// \param service   names the service; what was learnt of another one doesn't count.
    /// \param clock     outlives this, as the defaults do.
    /// \param defaults  where it outlives the process; none to keep it for this run alone.
    RequestLimit(QString service, const platform::Clock &clock, platform::UserDefaults *defaults);

    /// True where such a request would be refused.
    bool isReachedBy(const RequestExtent &extent) const;

    /// Learns that one was refused for its extent.
    void refused(const RequestExtent &extent);

    /// Learns that one wasn't.
    void taken(const RequestExtent &extent);

private:
    /// Of bytes, or of instances.
    struct Limit
    {
        static constexpr qint64 kNone = std::numeric_limits<qint64>::max();

        qint64 from = kNone;
        QDateTime learntAt = {};
        int patience = kFirstPatience;
        int taken = 0;        // since it was learnt or doubled
        bool isTrial = false; // it was doubled, and nothing was refused since

        bool isReachedBy(qint64 value, const QDateTime &now) const;
        bool refuse(qint64 value, const QDateTime &now); ///< \return whether it is another one now
        bool take(qint64 value);                         ///< the same
    };

    void load();
    void keep() const QUORIN_REQUIRES(m_mutex);

    const QString m_service;
    const platform::Clock &m_clock;
    platform::UserDefaults *const m_defaults;
    mutable platform::Mutex m_mutex;
    Limit m_bytes QUORIN_GUARDED_BY(m_mutex);
    Limit m_instances QUORIN_GUARDED_BY(m_mutex);
    RequestExtent m_mostTaken QUORIN_GUARDED_BY(m_mutex); // of either; not of one request
};

} // namespace gateway::cloud_client
