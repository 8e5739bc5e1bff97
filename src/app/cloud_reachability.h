#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/quorin_api/qrn_status_api.h"

#include <QtCore/QString>

#include <chrono>
#include <memory>
#include <optional>

namespace gateway::app {

/// Whether the cloud answers, as of late.
///
/// Owner: Gateway, as a shared pointer. Thread: main.
class CloudReachability : public std::enable_shared_from_this<CloudReachability>
{
public:
    /// An answer older than this is asked for again.
    static constexpr std::chrono::seconds kFresh{10};

    /// \param pool  for calls that may take as long as the network lets them.
    CloudReachability(platform::QrnStatusAPIProtocol &api,
                      platform::MainExecutor &main,
                      platform::WorkerPool &pool,
                      platform::Clock &clock);

    /// Asks the cloud, unless it was asked a moment ago; returns at once.
    void refresh();

    /// Nothing before the first answer.
    std::optional<bool> isOnline() const { return m_isOnline; }

    /// Why the cloud didn't answer; empty when it did.
    const QString &lastError() const { return m_lastError; }

private:
    void answered(const QString &error);

    platform::QrnStatusAPIProtocol &m_api;
    platform::MainExecutor &m_main;
    platform::WorkerPool &m_pool;
    platform::Clock &m_clock;
    std::optional<bool> m_isOnline;
    QString m_lastError;
    std::optional<std::chrono::nanoseconds> m_askedAt;
    bool m_isAsking = false;
};

} // namespace gateway::app
