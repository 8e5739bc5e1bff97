#pragma once

#include "cloud_client/qrn_status_api.h"
#include "cloud_client/quorin_error.h"
#include "platform/concurrency/testing/gate.h"

#include <atomic>
#include <optional>

namespace gateway::account::testing {

/// A cloud that answers or not, as told, and can be made to think. Thread: any.
class FakeStatusAPI final : public cloud_client::QrnStatusAPIProtocol
{
public:
    void ping() override
    {
        ++pings;
        m_gate.pass();
        if (isAway) {
            throw cloud_client::AFError(QStringLiteral("Nobody answers."), std::nullopt, 7);
        }
    }

    /// While it is held, nobody gets an answer.
    void hold(bool isHeld) { m_gate.hold(isHeld); }

    std::atomic<bool> isAway = false;
    std::atomic<int> pings = 0;

private:
    platform::testing::Gate m_gate;
};

} // namespace gateway::account::testing
