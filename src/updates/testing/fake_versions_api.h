#pragma once

#include "cloud_client/qrn_versions_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/mutex.h"

#include <atomic>
#include <optional>

namespace gateway::updates::testing {

/// A version policy that says what the test wants, and can be made to think. Thread: any.
class FakeVersionsAPI final : public cloud_client::QrnVersionsAPIProtocol
{
public:
    cloud_client::QrnVersionsResponse checkVersions() override
    {
        const platform::MutexLock lock(m_mutex);
        ++checks;
        while (m_isHeld) {
            m_changed.wait(m_mutex);
        }
        if (isAway) {
            throw cloud_client::AFError(QStringLiteral("Nobody answers."), std::nullopt, 7);
        }
        return m_result;
    }

    void answer(const cloud_client::QrnVersionsResponse &result)
    {
        const platform::MutexLock lock(m_mutex);
        m_result = result;
    }

    /// While it is held, nobody gets an answer.
    void hold(bool isHeld)
    {
        const platform::MutexLock lock(m_mutex);
        m_isHeld = isHeld;
        m_changed.notifyAll();
    }

    std::atomic<bool> isAway = false;
    std::atomic<int> checks = 0;

private:
    platform::Mutex m_mutex;
    platform::Condition m_changed;
    bool m_isHeld QUORIN_GUARDED_BY(m_mutex) = false;
    cloud_client::QrnVersionsResponse m_result QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::updates::testing
