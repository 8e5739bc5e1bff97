#include "receive/dimse_listener_view_model.h"

#include "receive/testing/receive_world.h"

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

using testing::ReceiveWorld;

class ListenerViewModel : public ::testing::Test
{
protected:
    void finishSetup()
    {
        m_world.settings.gatewaySetupCompleted.set(true);
        m_world.settings.gatewaySetupVersion.set(1);
    }

    ReceiveWorld m_world;
    DimseListenerViewModel m_model{
        {m_world.defaults, m_world.settings, m_world.notifications, *m_world.service, m_world.inbox()}};
};

TEST_F(ListenerViewModel, FollowsTheListener)
{
    m_world.configure([](core::DCMListenerSettings &settings) { settings.port = 1115; });
    EXPECT_EQ(m_model.state(), state::ListenerState::stopped);

    m_world.service->startListener();
    EXPECT_TRUE(m_model.isOn());
    EXPECT_EQ(m_model.state(), state::ListenerState::starting);

    m_world.scps.front()->listen();
    m_world.settle();
    EXPECT_EQ(m_model.state(), state::ListenerState::listening);

    m_world.scps.front()->callbacks().interrupted(
        {platform::StoreSCPInterruption::Cause::ended, 137, u"It was ended."_qs, {}});
    m_world.settle();
    EXPECT_TRUE(m_model.isOn());
    EXPECT_EQ(m_model.state(), state::ListenerState::restarting);

    m_world.service->stopListener();
    EXPECT_EQ(m_model.state(), state::ListenerState::stopped);
}

TEST_F(ListenerViewModel, TellsTheAddressThatTheListenerBinds)
{
    m_world.configure([](core::DCMListenerSettings &settings) { settings.port = 1115; });
    m_model.refresh();

    EXPECT_EQ(m_model.addressText(true), u"127.0.0.1:1115"_qs);
    EXPECT_EQ(m_model.addressText(false), u"127.0.0.1"_qs);
}

TEST_F(ListenerViewModel, ShowsTheDefaultFolderUntilOneIsChosen)
{
    EXPECT_EQ(m_model.storagePath(), m_world.inbox());
    m_world.settings.listenerDestinationFolder.set(u"  "_qs);
    m_model.refresh();
    EXPECT_EQ(m_model.storagePath(), m_world.inbox());
    m_world.settings.listenerDestinationFolder.set(u"/chosen"_qs);
    m_model.refresh();
    EXPECT_EQ(m_model.storagePath(), u"/chosen"_qs);
}

TEST_F(ListenerViewModel, AsksForTheWizardInsteadOfSwitchingOnBeforeSetup)
{
    int asked = 0;
    const auto token =
        m_world.notifications.observe(core::kOpenSetupWizard, [&](const QVariantMap &) { ++asked; });
    m_world.configure([](core::DCMListenerSettings &settings) { settings.isEnabled = false; });

    m_model.setEnabled(true);

    EXPECT_EQ(asked, 1);
    EXPECT_FALSE(m_model.isOn());
    EXPECT_EQ(core::DCMListenerSettings::load(m_world.defaults).isEnabled, false);
}

TEST_F(ListenerViewModel, SwitchesTheListenerAndKeepsTheChoice)
{
    finishSetup();

    m_model.setEnabled(true);
    EXPECT_TRUE(m_model.isOn());
    EXPECT_EQ(core::DCMListenerSettings::load(m_world.defaults).isEnabled, true);

    m_model.setEnabled(false);
    EXPECT_FALSE(m_model.isOn());
    EXPECT_EQ(core::DCMListenerSettings::load(m_world.defaults).isEnabled, false);
}

TEST_F(ListenerViewModel, SwitchesOffBeforeSetupToo)
{
    m_model.setEnabled(false);

    EXPECT_EQ(core::DCMListenerSettings::load(m_world.defaults).isEnabled, false);
}

} // namespace
} // namespace gateway::receive
