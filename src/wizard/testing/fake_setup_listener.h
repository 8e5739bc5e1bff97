#pragma once

#include "core/store_errors.h"
#include "platform/concurrency/async_sleep.h"
#include "wizard/setup_listener.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

namespace gateway::wizard::testing {

/// A listener without a network that starts, or fails to, on a clock.
///
/// Owner: a test. Thread: main.
class FakeSetupListener final : public SetupListener
{
public:
    FakeSetupListener(platform::MainExecutor &main, platform::Clock &clock) : m_main(main), m_clock(clock) {}

    bool isListenerRunning() const override { return isRunning; }

    void startListener() override
    {
        calls.append(QStringLiteral("start"));
        isRunning = true;
    }

    void stopListener() override
    {
        calls.append(QStringLiteral("stop"));
        isRunning = false;
    }

    QCoro::Task<void> waitForListenerStart(std::chrono::nanoseconds wait, double seconds) override
    {
        waits.append(QStringLiteral("%1 ns, %2 s").arg(wait.count()).arg(seconds, 0, 'f', 1));
        co_await platform::asyncSleep(m_main, m_clock, wait, m_stop.get_token());
        if (m_failure) {
            throw core::StoreStartupError(*m_failure);
        }
    }

    /// A start that is waited for, now or later, fails.
    void fail(const QString &message)
    {
        m_failure = message;
        m_stop.request_stop();
    }

    /// Later starts work.
    void recover()
    {
        m_failure.reset();
        m_stop = {};
    }

    bool isRunning = false;
    QStringList calls;
    QStringList waits;

private:
    platform::MainExecutor &m_main;
    platform::Clock &m_clock;
    std::optional<QString> m_failure;
    std::stop_source m_stop;
};

} // namespace gateway::wizard::testing
