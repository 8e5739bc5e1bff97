#include "receive/listener_watch.h"

#include "receive/testing/receive_world.h"
#include "state/testing/state_world.h"

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

using state::ListenerState;

class ListenerWatching : public ::testing::Test
{
protected:
    testing::ReceiveWorld m_world;
    state::testing::StateWorld m_live;
    ListenerWatch m_watch{
        {m_world.defaults, m_world.notifications, *m_world.service, m_live.state(), u"127.0.0.1"_qs}};
};

TEST_F(ListenerWatching, TellsTheConfiguredPortWhileNothingListens)
{
    m_world.configure([](core::DCMListenerSettings &record) {
        record.aeTitle = u"GATE"_qs;
        record.port = 4242;
        record.isEnabled = false;
    });

    const state::ListenerFigures figures = m_watch.figures();

    EXPECT_FALSE(figures.isEnabled);
    EXPECT_EQ(figures.state, ListenerState::stopped);
    EXPECT_EQ(figures.aeTitle, u"GATE"_qs);
    EXPECT_EQ(figures.port, 4242);
    EXPECT_EQ(figures.address, u"127.0.0.1:4242"_qs);
    EXPECT_EQ(figures.failure, QString());
    EXPECT_TRUE(figures.isAsItShouldBe()) << "it is switched off";
}

TEST_F(ListenerWatching, KeepsWhyAStartFailedUntilOneSucceeds)
{
    m_world.service->startListener();
    m_world.scps.front()->end(1);
    m_world.waitUntil([this] { return !m_world.errors.isEmpty(); });

    EXPECT_EQ(m_watch.figures().state, ListenerState::failed);
    EXPECT_TRUE(m_watch.figures().failure.inEnglish().startsWith(u"Failed to start DIMSE listener"_qs));
    EXPECT_FALSE(m_watch.figures().isAsItShouldBe());

    m_world.service->startListener();
    m_world.waitUntil([this] { return m_watch.figures().failure.isEmpty(); });

    EXPECT_EQ(m_watch.figures().state, ListenerState::starting);
    EXPECT_FALSE(m_watch.figures().isAsItShouldBe());
    m_world.scps.back()->listen();
    EXPECT_EQ(m_watch.figures().state, ListenerState::listening);
    EXPECT_TRUE(m_watch.figures().isAsItShouldBe());

    m_world.service->stopListener();
    EXPECT_EQ(m_watch.figures().state, ListenerState::stopped);
}

TEST_F(ListenerWatching, SaysThatNobodyCanSendWhileTheReceiverIsStartedAgain)
{
    m_world.service->startListener();
    const auto callbacks = m_world.scps.front()->callbacks();
    m_world.scps.front()->listen();

    callbacks.interrupted({platform::StoreSCPInterruption::Cause::ended, 137, u"It was ended."_qs, {}});
    m_world.settle();
    EXPECT_EQ(m_watch.figures().state, ListenerState::restarting);
    EXPECT_FALSE(m_watch.figures().isAsItShouldBe());
    EXPECT_EQ(m_watch.figures().failure, u"It was ended."_qs);

    callbacks.resumed();
    m_world.settle();
    EXPECT_EQ(m_watch.figures().state, ListenerState::listening);
    EXPECT_EQ(m_watch.figures().failure, QString());
}

TEST(ListenerFailureText, NamesTheReasonWhereItHasOne)
{
    EXPECT_EQ(listenerFailureText({}).inEnglish(), u"Failed to start DIMSE listener."_qs);
    EXPECT_EQ(
        listenerFailureText({{core::kMessageKey, u"No port."_qs}, {kListenerFailureReasonKey, u"Taken."_qs}})
            .inEnglish(),
        u"No port. Taken."_qs);
}

} // namespace
} // namespace gateway::receive
