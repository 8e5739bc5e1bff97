#include "wizard/port_probe.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace gateway::wizard {
namespace {

/// A port of the loopback that is taken for as long as this lives.
class TakenPort
{
public:
    TakenPort() : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        auto *plain = reinterpret_cast<sockaddr *>(&address);
        EXPECT_EQ(::bind(m_socket, plain, size), 0);
        EXPECT_EQ(::getsockname(m_socket, plain, &size), 0);
        m_port = ntohs(address.sin_port);
    }

    ~TakenPort() { ::close(m_socket); }

    TakenPort(const TakenPort &) = delete;
    TakenPort &operator=(const TakenPort &) = delete;

    int port() const { return m_port; }

private:
    int m_socket;
    int m_port = 0;
};

TEST(PortProbe, FindsATakenPortInUseOnItsAddressAndOnAll)
{
    const TakenPort taken;

    EXPECT_EQ(probePort(taken.port(), u"127.0.0.1"_qs), PortState::inUse);
    EXPECT_EQ(probePort(taken.port(), {}), PortState::inUse);
}

TEST(PortProbe, LeavesAFreePortFree)
{
    // The same port number on another loopback address is free for as long as the first one is held.
    const TakenPort taken;

    EXPECT_EQ(probePort(taken.port(), u"127.0.0.2"_qs), PortState::available);
    EXPECT_EQ(probePort(taken.port(), u"127.0.0.2"_qs), PortState::available);
}

TEST(PortProbe, KnowsAnAddressThatIsNotThisMachines)
{
    const TakenPort taken;

    EXPECT_EQ(probePort(taken.port(), u"192.0.2.1"_qs), PortState::noAddress);
    EXPECT_EQ(probePort(taken.port(), u"no address"_qs), PortState::noAddress);
}

} // namespace
} // namespace gateway::wizard
