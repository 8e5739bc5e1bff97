#include "wizard/port_probe.h"

#include "platform/sockets/testing/loopback_port.h"

#include <gtest/gtest.h>

namespace gateway::wizard {
namespace {

using platform::testing::LoopbackPort;

TEST(PortProbe, FindsATakenPortInUseOnItsAddressAndOnAll)
{
    const LoopbackPort taken;

    EXPECT_EQ(probePort(taken.port(), u"127.0.0.1"_qs), PortState::inUse);
    EXPECT_EQ(probePort(taken.port(), {}), PortState::inUse);
}

TEST(PortProbe, LeavesAFreePortFree)
{
    // The same port number on another loopback address is free for as long as the first one is held.
    const LoopbackPort taken;

    EXPECT_EQ(probePort(taken.port(), u"127.0.0.2"_qs), PortState::available);
    EXPECT_EQ(probePort(taken.port(), u"127.0.0.2"_qs), PortState::available);
}

TEST(PortProbe, KnowsAnAddressThatIsNotThisMachines)
{
    const LoopbackPort taken;

    EXPECT_EQ(probePort(taken.port(), u"192.0.2.1"_qs), PortState::noAddress);
    EXPECT_EQ(probePort(taken.port(), u"no address"_qs), PortState::noAddress);
}

} // namespace
} // namespace gateway::wizard
