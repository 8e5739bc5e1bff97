#pragma once

#include "log/writing/gateway_logging.h"
#include "platform/concurrency/mutex.h"

#include <vector>

namespace gateway::log::testing {

/// A log that keeps every event in memory, in the order of arrival.
///
/// Thread: any.
class RecordingLog final : public GatewayLogging
{
public:
    void log(GatewayLogEvent event) override
    {
        const platform::MutexLock lock(m_mutex);
        m_events.push_back(std::move(event));
    }

    /// A copy of what has been logged so far.
    std::vector<GatewayLogEvent> events() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_events;
    }

    /// The events of one action, in the order of arrival.
    std::vector<GatewayLogEvent> events(GatewayLogAction action) const
    {
        const platform::MutexLock lock(m_mutex);
        std::vector<GatewayLogEvent> found;
        for (const GatewayLogEvent &event : m_events) {
            if (event.action == action) {
                found.push_back(event);
            }
        }
        return found;
    }

    /// How many events of one action were logged.
    std::size_t count(GatewayLogAction action) const { return events(action).size(); }

    /// Forgets what was logged.
    void clear()
    {
        const platform::MutexLock lock(m_mutex);
        m_events.clear();
    }

private:
    mutable platform::Mutex m_mutex;
    std::vector<GatewayLogEvent> m_events QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::log::testing
