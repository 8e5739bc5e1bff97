#pragma once

#include "platform/descriptors/descriptor.h"

#include <cerrno>
#include <system_error>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace gateway::platform::testing {

/// A port of the loopback that nobody else has for as long as this lives. Owner: a test. Thread: one at a
/// time.
class LoopbackPort
{
public:
    enum class Use
    {
        bound,    ///< taken, and answers nobody
        listening ///< callers are let in; `descriptor` accepts them
    };

    /// \throws std::system_error
    explicit LoopbackPort(Use use = Use::bound) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        auto *plain = reinterpret_cast<sockaddr *>(&address);
        if (::bind(m_socket.get(), plain, size) != 0 || ::getsockname(m_socket.get(), plain, &size) != 0 ||
            (use == Use::listening && ::listen(m_socket.get(), kBacklog) != 0)) {
            throw std::system_error(errno, std::generic_category(), "a port of the loopback");
        }
        m_port = ntohs(address.sin_port);
    }

    int port() const { return m_port; }
    int descriptor() const { return m_socket.get(); }

private:
    static constexpr int kBacklog = 64;

    Descriptor m_socket;
    int m_port = 0;
};

/// A port of the loopback that was free a moment ago.
inline int freeLoopbackPort()
{
    return LoopbackPort().port();
}

} // namespace gateway::platform::testing
