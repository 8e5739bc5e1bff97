#pragma once

#include "platform/concurrency/mutex.h"
#include "platform/dicom/store_scp.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace gateway::receive::testing {

/// A receiver without a network: its start call keeps its thread until it is stopped or told to end.
///
/// Thread: any.
class FakeStoreSCP final : public platform::StoreSCP
{
public:
    std::int32_t start(const platform::StoreSCPConfig &config, platform::StoreSCPCallbacks callbacks) override
    {
        const platform::MutexLock lock(m_mutex);
        m_config = config;
        m_callbacks = std::move(callbacks);
        m_changed.notifyAll();
        while (!m_result) {
            m_changed.wait(m_mutex);
        }
        return *m_result;
    }

    void stop() override
    {
        {
            const platform::MutexLock lock(m_mutex);
            ++m_stops;
            if (m_staysWhenStopped || m_keepsPort) {
                return;
            }
        }
        end(0);
    }

    void acknowledgeAfter(std::int64_t time) override
    {
        const platform::MutexLock lock(m_mutex);
        m_order = time;
    }

    std::int64_t order() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_order;
    }

    void awaitFreePort() override
    {
        const platform::MutexLock lock(m_mutex);
        ++m_portWaits;
        m_changed.notifyAll();
        while (m_config && !m_result && !m_staysWhenStopped) {
            m_changed.wait(m_mutex);
        }
    }

    std::optional<int> boundPort() const override
    {
        const platform::MutexLock lock(m_mutex);
        return m_port;
    }

    platform::Sentence lastMessage() const override { return QStringLiteral("The fake was told to fail."); }

    /// Binds the port that it was told, and says so.
    void listen()
    {
        const platform::StoreSCPCallbacks told = callbacks();
        {
            const platform::MutexLock lock(m_mutex);
            m_port = m_config->port;
        }
        told.listening();
    }

    /// The start call returns with this result.
    void end(std::int32_t result)
    {
        const platform::MutexLock lock(m_mutex);
        m_result = result;
        m_changed.notifyAll();
    }

    /// From now on a stop doesn't end the start call: its return comes late.
    void stayWhenStopped()
    {
        const platform::MutexLock lock(m_mutex);
        m_staysWhenStopped = true;
    }

    /// From now on a stop neither ends the start call nor frees the port.
    void keepPort()
    {
        const platform::MutexLock lock(m_mutex);
        m_keepsPort = true;
    }

    /// Blocks until the start call has come, and gives its blocks.
    platform::StoreSCPCallbacks callbacks()
    {
        const platform::MutexLock lock(m_mutex);
        while (!m_config) {
            m_changed.wait(m_mutex);
        }
        return m_callbacks;
    }

    platform::StoreSCPConfig config()
    {
        callbacks();
        const platform::MutexLock lock(m_mutex);
        return *m_config;
    }

    bool hasStarted() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_config.has_value();
    }

    /// How often somebody has waited for its port.
    int portWaits() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_portWaits;
    }

    /// Blocks until so many have waited for its port, or it is free.
    void awaitPortWaits(int waits)
    {
        const platform::MutexLock lock(m_mutex);
        while (m_portWaits < waits && !m_result) {
            m_changed.wait(m_mutex);
        }
    }

    int stops() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_stops;
    }

private:
    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    std::optional<platform::StoreSCPConfig> m_config QUORIN_GUARDED_BY(m_mutex);
    platform::StoreSCPCallbacks m_callbacks QUORIN_GUARDED_BY(m_mutex);
    std::optional<std::int32_t> m_result QUORIN_GUARDED_BY(m_mutex);
    std::optional<int> m_port QUORIN_GUARDED_BY(m_mutex);
    std::int64_t m_order QUORIN_GUARDED_BY(m_mutex) = 0;
    bool m_staysWhenStopped QUORIN_GUARDED_BY(m_mutex) = false;
    bool m_keepsPort QUORIN_GUARDED_BY(m_mutex) = false;
    int m_portWaits QUORIN_GUARDED_BY(m_mutex) = 0;
    int m_stops QUORIN_GUARDED_BY(m_mutex) = 0;
};

} // namespace gateway::receive::testing
