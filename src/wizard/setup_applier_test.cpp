#include "wizard/setup_applier.h"

#include "core/dcm_listener_settings.h"
#include "core/store_errors.h"
#include "platform/concurrency/async_sleep.h"
#include "receive/testing/receive_world.h"
#include "wizard/port_probe.h"

#include <gtest/gtest.h>

namespace gateway::wizard {
namespace {

using receive::testing::ReceiveWorld;

/// A listener whose start is waited for until its time is over or it fails.
class StartedListener final : public SetupListener
{
public:
    explicit StartedListener(ReceiveWorld &world)
        : m_world(world), m_observer(world.notifications.observe(
                              core::kStoreListenerError, [this](const QVariantMap &userInfo) {
                                  m_failure = userInfo.value(core::kMessageKey).toString();
                                  m_stop.request_stop();
                              }))
    {
    }

    receive::StoreListenerService &listenerService() const override { return *m_world.service; }

    QCoro::Task<void> waitForListenerStart(std::chrono::nanoseconds wait, double /*seconds*/) override
    {
        co_await platform::asyncSleep(m_world.main, m_world.clock, wait, m_stop.get_token());
        if (m_failure) {
            throw core::StoreStartupError(*m_failure);
        }
    }

private:
    ReceiveWorld &m_world;
    std::optional<QString> m_failure;
    std::stop_source m_stop;
    platform::NotificationCenter::Token m_observer;
};

class Setup : public ::testing::Test
{
protected:
    Setup()
    {
        m_draft.aeTitle = u"GATE"_qs;
        m_draft.portText = QString::number(freePort());
    }

    /// A port that can be listened on now.
    static int freePort()
    {
        int port = 42'000;
        while (probePort(port, u"127.0.0.1"_qs) != PortState::available) {
            ++port;
        }
        return port;
    }

    /// Applies the draft, lets `meanwhile` happen once the listener was started, and waits for the end.
    std::optional<QString> applyWhile(const std::function<void()> &meanwhile)
    {
        std::optional<std::optional<QString>> result;
        const auto task = m_applier.apply(m_draft).then(
            [&result](const std::optional<QString> &problem) { result = problem; });
        if (!result) {
            m_world.clock.waitForSleepers(1);
            meanwhile();
        }
        m_world.waitUntil([&result] { return result.has_value(); });
        return *result;
    }

    std::optional<QString> apply()
    {
        return applyWhile([this] { m_world.clock.advance(std::chrono::seconds(2)); });
    }

    bool isSetUp() const { return !core::isSetupRequired(m_world.settings); }

    ReceiveWorld m_world;
    StartedListener m_listener{m_world};
    SetupApplier m_applier{{m_world.defaults,
                            m_world.settings,
                            m_world.main,
                            m_world.pool,
                            m_world.clock,
                            m_listener,
                            u"127.0.0.1"_qs}};
    SetupDraft m_draft;
};

TEST_F(Setup, StartsTheListenerWithTheNewSettingsAndOpensTheGate)
{
    EXPECT_EQ(apply(), std::nullopt);

    EXPECT_TRUE(isSetUp());
    ASSERT_NE(m_world.service->storeListener(), nullptr);
    EXPECT_EQ(core::DCMListenerSettings::load(m_world.defaults).aeTitle, u"GATE"_qs);
    EXPECT_FALSE(m_applier.isApplying());
}

TEST_F(Setup, ChangesNothingWhenACheckFails)
{
    m_draft.portText = u"70000"_qs;

    EXPECT_EQ(apply(), portFormatIssue(u"70000"_qs));

    EXPECT_FALSE(isSetUp());
    EXPECT_TRUE(m_world.scps.empty());
    EXPECT_NE(core::DCMListenerSettings::load(m_world.defaults).aeTitle, u"GATE"_qs);
}

TEST_F(Setup, KeepsTheGateShutWhenTheListenerFails)
{
    const std::optional<QString> problem = applyWhile([this] { m_world.scps.front()->end(1); });

    ASSERT_TRUE(problem);
    EXPECT_TRUE(problem->startsWith(u"Failed to start DIMSE listener"_qs));
    EXPECT_FALSE(isSetUp());
    EXPECT_EQ(m_world.service->storeListener(), nullptr);
}

TEST_F(Setup, IsAppliedByOneAtATime)
{
    std::optional<QString> second;
    EXPECT_EQ(applyWhile([this, &second] {
                  EXPECT_TRUE(m_applier.isApplying());
                  const auto task = m_applier.apply(m_draft).then(
                      [&second](const std::optional<QString> &problem) { second = problem; });
                  m_world.clock.advance(std::chrono::seconds(2));
              }),
              std::nullopt);

    EXPECT_EQ(second, u"Setup is being applied already."_qs);
}

TEST_F(Setup, TakesThePortOfItsOwnListenerForFree)
{
    EXPECT_EQ(apply(), std::nullopt);
    m_draft.aeTitle = u"NORTH"_qs;

    EXPECT_EQ(m_applier.issue(m_draft), std::nullopt);
    EXPECT_EQ(apply(), std::nullopt);
    EXPECT_EQ(m_world.scps.size(), 2U);
}

} // namespace
} // namespace gateway::wizard
