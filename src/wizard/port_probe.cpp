#include "wizard/port_probe.h"

#include <cerrno>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace gateway::wizard {

namespace {

PortState stateFor(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
        return PortState::forbidden;
    case EADDRNOTAVAIL:
        return PortState::noAddress;
    default:
        return PortState::inUse;
    }
}

} // namespace

PortState probePort(int port, const QString &bindAddress)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    if (!bindAddress.isEmpty() &&
        ::inet_pton(AF_INET, bindAddress.toLatin1().constData(), &address.sin_addr) != 1) {
        return PortState::noAddress;
    }
    const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (probe < 0) {
        return PortState::inUse;
    }
    const bool bound = ::bind(probe, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
    const PortState state = bound ? PortState::available : stateFor(errno);
    ::close(probe);
    return state;
}

} // namespace gateway::wizard
