#pragma once

#include "cloud_client/qrn_versions_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/testing/gate.h"

#include <atomic>
#include <optional>

namespace gateway::updates::testing {

/// A version policy that says what the test wants, and can be made to think. Thread: any.
class FakeVersionsAPI final : public cloud_client::QrnVersionsAPIProtocol
{
public:
    cloud_client::QrnVersionsResponse checkVersions() override
    {
        ++checks;
        m_gate.pass();
        if (isAway) {
            throw cloud_client::AFError(QStringLiteral("Nobody answers."), std::nullopt, 7);
        }
        const platform::MutexLock lock(m_mutex);
        return m_result;
    }

    void answer(const cloud_client::QrnVersionsResponse &result)
    {
        const platform::MutexLock lock(m_mutex);
        m_result = result;
    }

    /// While it is held, nobody gets an answer.
    void hold(bool isHeld) { m_gate.hold(isHeld); }

    std::atomic<bool> isAway = false;
    std::atomic<int> checks = 0;

private:
    platform::testing::Gate m_gate;
    platform::Mutex m_mutex;
    cloud_client::QrnVersionsResponse m_result QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::updates::testing
