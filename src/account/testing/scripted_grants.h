#pragma once

#include "cloud_client/device_grant.h"
#include "cloud_client/quorin_error.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>

namespace gateway::account::testing {

/// Answers questions one after the other, and then that nobody has entered the code.
class ScriptedGrants final : public cloud_client::DeviceGrantAPIProtocol
{
public:
    using Step = std::function<cloud_client::DeviceAnswer()>;

    cloud_client::DeviceCode begin(const cloud_client::ArchiveSignIn &) override
    {
        if (refusal) {
            throw cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::credentialsRefused, *refusal);
        }
        return {.deviceCode = QStringLiteral("dc"),
                .userCode = QStringLiteral("ABCD"),
                .address = QStringLiteral("https://id.example/device"),
                .wholeAddress = {},
                .lifetime = lifetime,
                .interval = std::chrono::seconds(5)};
    }

    cloud_client::DeviceAnswer ask(const cloud_client::ArchiveSignIn &, const QString &deviceCode) override
    {
        EXPECT_EQ(deviceCode, QStringLiteral("dc"));
        Step step = [] { return cloud_client::DeviceAnswer(); };
        {
            const std::lock_guard lock(m_mutex);
            if (!steps.empty()) {
                step = steps.front();
                steps.pop_front();
            }
        }
        ++questions;
        return step();
    }

    std::optional<QString> refusal;
    std::chrono::seconds lifetime{60};
    std::deque<Step> steps; // filled before the first question
    std::atomic<int> questions = 0;

private:
    std::mutex m_mutex;
};

} // namespace gateway::account::testing
