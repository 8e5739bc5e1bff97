#pragma once

#include "platform/quorin_api/qrn_status_api.h"
#include "platform/quorin_api/quorin_error.h"

#include <atomic>

namespace gateway::shell::testing {

/// A cloud that answers or not, as told. Thread: any.
class FakeCloudStatus final : public platform::QrnStatusAPIProtocol
{
public:
    void ping() override
    {
        ++pings;
        if (isAway) {
            throw platform::AFError(QStringLiteral("Nobody answers."), std::nullopt, 7);
        }
    }

    std::atomic<bool> isAway = false;
    std::atomic<int> pings = 0;
};

} // namespace gateway::shell::testing
