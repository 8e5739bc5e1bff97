#include "wizard/port_probe.h"

#include "platform/descriptors/descriptor.h"

#include <cerrno>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

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
    const platform::Descriptor probe(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!probe.isOpen()) {
        return PortState::inUse;
    }
    const bool bound =
        ::bind(probe.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
    return bound ? PortState::available : stateFor(errno);
}

} // namespace gateway::wizard
