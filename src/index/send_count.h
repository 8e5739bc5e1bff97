#pragma once

#include "platform/concurrency/mutex.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace gateway::platform {
class Clock;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::index {

/// How many sends the index has noted, kept apart from it: an index that came back from a backup knows of
/// fewer.
///
/// Owner: DicomDB. Thread: any.
class SendCount
{
public:
    /// Both outlive this.
    SendCount(platform::UserDefaults &defaults, platform::Clock &clock) : m_defaults(defaults), m_clock(clock)
    {
    }

    /// The last count that was kept: never more than an index knows that has noted them all.
    std::int64_t kept() const;

    /// Keeps a count that is durable in the index; at most once a second.
    void keep(std::int64_t count);

private:
    platform::UserDefaults &m_defaults;
    platform::Clock &m_clock;
    platform::Mutex m_mutex;
    std::optional<std::chrono::nanoseconds> m_keptAt QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::index
