#pragma once

#include "cloud_client/qrn_status_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/mutex.h"

#include <atomic>
#include <optional>

namespace gateway::account::testing {

/// A cloud that answers or not, as told, and can be made to think. Thread: any.
class FakeStatusAPI final : public cloud_client::QrnStatusAPIProtocol
{
public:
    void ping() override
    {
        const platform::MutexLock lock(m_mutex);
        ++pings;
        while (m_isHeld) {
            m_changed.wait(m_mutex);
        }
        if (isAway) {
            throw cloud_client::AFError(QStringLiteral("Nobody answers."), std::nullopt, 7);
        }
    }

    /// While it is held, nobody gets an answer.
    void hold(bool isHeld)
    {
        const platform::MutexLock lock(m_mutex);
        m_isHeld = isHeld;
        m_changed.notifyAll();
    }

    std::atomic<bool> isAway = false;
    std::atomic<int> pings = 0;

private:
    platform::Mutex m_mutex;
    platform::Condition m_changed;
    bool m_isHeld QUORIN_GUARDED_BY(m_mutex) = false;
};

} // namespace gateway::account::testing
