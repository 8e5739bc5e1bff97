#include "receive/store_listener_service.h"
#include "receive/testing/receive_world.h"

#include <gtest/gtest.h>

#include <thread>

namespace gateway::receive {
namespace {

using testing::ReceiveWorld;

/// The listener, and the port of those that were stopped before it.
class ListenerPort : public ::testing::Test
{
protected:
    /// Was stopped, and is waited for by another start. \return the one that keeps the port.
    std::shared_ptr<testing::FakeStoreSCP> startBehindOneThatKeepsThePort()
    {
        m_world.service->startListener();
        const auto holder = m_world.scps.back();
        holder->config();
        holder->keepPort();
        m_world.service->stopListener();
        m_world.service->startListener();
        m_world.waitUntil([&holder] { return holder->portWaits() == 1; });
        return holder;
    }

    ReceiveWorld m_world;
};

TEST_F(ListenerPort, EndsOnlyWhenItsPortIsFree)
{
    m_world.service->endListener(); // without one
    m_world.service->startListener();
    m_world.scps.back()->config();
    m_world.scps.back()->listen();

    m_world.service->endListener();

    EXPECT_EQ(m_world.scps.back()->stops(), 1);
    EXPECT_EQ(m_world.scps.back()->portWaits(), 1);
}

/// The one between them never began: it isn't the one that has the port.
TEST_F(ListenerPort, WaitsForEachReceiverThatMayHaveThePortHoweverOftenItWasStoppedSince)
{
    const auto holder = startBehindOneThatKeepsThePort();
    m_world.service->stopListener();
    m_world.service->startListener();

    m_world.waitUntil([&holder] { return holder->portWaits() == 2; });
    EXPECT_FALSE(m_world.scps.back()->hasStarted());
    holder->end(0);

    EXPECT_EQ(m_world.scps.back()->config().port, 1115);
}

TEST_F(ListenerPort, EndsOnlyWhenThePortIsFreeOfWhoeverWasStoppedBefore)
{
    const auto holder = startBehindOneThatKeepsThePort();

    const std::jthread slow([&holder] {
        holder->awaitPortWaits(2);
        holder->end(0);
    });
    m_world.service->endListener();

    EXPECT_EQ(holder->portWaits(), 2);
    holder->end(0);
}

} // namespace
} // namespace gateway::receive
