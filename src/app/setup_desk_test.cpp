#include "app/setup_desk.h"

#include "app/testing/app_world.h"
#include "core/dcm_listener_settings.h"

#include <gtest/gtest.h>

namespace gateway::app {
namespace {

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
        while (wizard::probePort(port, u"127.0.0.1"_qs) != wizard::PortState::available) {
            ++port;
        }
        return port;
    }

    /// Applies the draft, lets `meanwhile` happen once the listener was started, and waits for the end.
    std::optional<QString> applyWhile(const std::function<void()> &meanwhile)
    {
        std::optional<std::optional<QString>> result;
        const auto task = m_desk.apply(m_draft).then(
            [&result](const std::optional<QString> &problem) { result = problem; });
        if (!result) {
            m_world.receive.clock.waitForSleepers(1);
            meanwhile();
        }
        m_world.receive.waitUntil([&result] { return result.has_value(); });
        return *result;
    }

    std::optional<QString> apply()
    {
        return applyWhile([this] { m_world.receive.clock.advance(std::chrono::seconds(2)); });
    }

    bool isSetUp() const { return !core::isSetupRequired(m_world.receive.settings); }

    testing::AppWorld m_world;
    SetupDesk m_desk{{m_world.receive.defaults,
                      m_world.receive.settings,
                      m_world.receive.main,
                      m_world.receive.pool,
                      m_world.receive.clock,
                      *m_world.store,
                      u"127.0.0.1"_qs}};
    wizard::SetupDraft m_draft;
};

TEST_F(Setup, StartsTheListenerWithTheNewSettingsAndOpensTheGate)
{
    EXPECT_EQ(apply(), std::nullopt);

    EXPECT_TRUE(isSetUp());
    ASSERT_NE(m_world.receive.service->storeListener(), nullptr);
    EXPECT_EQ(core::DCMListenerSettings::load(m_world.receive.defaults).aeTitle, u"GATE"_qs);
    EXPECT_FALSE(m_desk.isApplying());
}

TEST_F(Setup, ChangesNothingWhenACheckFails)
{
    m_draft.portText = u"70000"_qs;

    EXPECT_EQ(apply(), wizard::portFormatIssue(u"70000"_qs));

    EXPECT_FALSE(isSetUp());
    EXPECT_TRUE(m_world.receive.scps.empty());
    EXPECT_NE(core::DCMListenerSettings::load(m_world.receive.defaults).aeTitle, u"GATE"_qs);
}

TEST_F(Setup, KeepsTheGateShutWhenTheListenerFails)
{
    const std::optional<QString> problem = applyWhile([this] { m_world.receive.scps.front()->end(1); });

    ASSERT_TRUE(problem);
    EXPECT_TRUE(problem->startsWith(u"Failed to start DIMSE listener"_qs));
    EXPECT_FALSE(isSetUp());
    EXPECT_EQ(m_world.receive.service->storeListener(), nullptr);
}

TEST_F(Setup, IsAppliedByOneAtATime)
{
    std::optional<QString> second;
    EXPECT_EQ(applyWhile([this, &second] {
                  EXPECT_TRUE(m_desk.isApplying());
                  const auto task = m_desk.apply(m_draft).then(
                      [&second](const std::optional<QString> &problem) { second = problem; });
                  m_world.receive.clock.advance(std::chrono::seconds(2));
              }),
              std::nullopt);

    EXPECT_EQ(second, u"Setup is being applied already."_qs);
}

TEST_F(Setup, TakesThePortOfItsOwnListenerForFree)
{
    EXPECT_EQ(apply(), std::nullopt);
    m_draft.aeTitle = u"NORTH"_qs;

    EXPECT_EQ(m_desk.issue(m_draft), std::nullopt);
    EXPECT_EQ(apply(), std::nullopt);
    EXPECT_EQ(m_world.receive.scps.size(), 2U);
}

} // namespace
} // namespace gateway::app
