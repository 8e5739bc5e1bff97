#include "dicom_helper/scp/listening_socket.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <system_error>

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace gateway::dicom_helper::scp {

namespace {

constexpr std::int64_t kHighestPort = 65535;

using AddressList = std::unique_ptr<addrinfo, void (*)(addrinfo *)>;

AddressList resolve(const std::string &address, const std::string &port)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo *found = nullptr;
    const int error = ::getaddrinfo(address.c_str(), port.c_str(), &hints, &found);
    if (error != 0) {
        throw std::runtime_error("The address " + address + " can't be bound: " + ::gai_strerror(error) +
                                 ".");
    }
    return {found, ::freeaddrinfo};
}

/// The wildcard addresses: IPv6 first, since its socket takes IPv4 too.
std::array<sockaddr_storage, 2> wildcards(std::uint16_t port)
{
    sockaddr_in6 six{};
    six.sin6_family = AF_INET6;
    six.sin6_port = htons(port);
    sockaddr_in four{};
    four.sin_family = AF_INET;
    four.sin_port = htons(port);
    std::array<sockaddr_storage, 2> both{};
    std::memcpy(&both[0], &six, sizeof(six));
    std::memcpy(&both[1], &four, sizeof(four));
    return both;
}

/// \return 0 or the errno.
int tryToListen(const sockaddr *address, socklen_t size, platform::Descriptor &listening)
{
    platform::Descriptor socket(::socket(address->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.isOpen()) {
        return errno;
    }
    const int yes = 1;
    const int no = 0;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    if (address->sa_family == AF_INET6) {
        ::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &no, sizeof(no));
    }
    if (::bind(socket.get(), address, size) != 0 || ::listen(socket.get(), SOMAXCONN) != 0) {
        return errno;
    }
    listening = std::move(socket);
    return 0;
}

[[noreturn]] void refuse(const std::string &address, const std::string &port, int error)
{
    if (error == EADDRINUSE) {
        throw std::runtime_error("Port " + port + " is already in use by another program.");
    }
    if (error == EACCES) {
        throw std::runtime_error("Port " + port + " is reserved; this program may not listen on it.");
    }
    if (error == EADDRNOTAVAIL) {
        throw std::runtime_error("The address " + address + " doesn't belong to this machine.");
    }
    throw std::runtime_error("Can't listen on port " + port + ": " + std::generic_category().message(error) +
                             ".");
}

std::uint16_t boundPort(const platform::Descriptor &socket)
{
    sockaddr_storage bound{};
    socklen_t size = sizeof(bound);
    ::getsockname(socket.get(), reinterpret_cast<sockaddr *>(&bound), &size);
    // The port lies at the same place for both families.
    return ntohs(reinterpret_cast<const sockaddr_in &>(bound).sin_port);
}

} // namespace

ListeningSocket listenOn(const std::string &address, std::int64_t port)
{
    if (port < 0 || port > kHighestPort) {
        throw std::runtime_error("Port " + std::to_string(port) + " doesn't exist.");
    }
    ListeningSocket listening;
    int error = 0;
    if (address.empty()) {
        for (const sockaddr_storage &any : wildcards(static_cast<std::uint16_t>(port))) {
            const socklen_t size = any.ss_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
            error = tryToListen(reinterpret_cast<const sockaddr *>(&any), size, listening.socket);
            if (error != EAFNOSUPPORT && error != EADDRNOTAVAIL) {
                break;
            }
        }
    } else {
        const AddressList found = resolve(address, std::to_string(port));
        error = tryToListen(found->ai_addr, found->ai_addrlen, listening.socket);
    }
    if (error != 0) {
        refuse(address, std::to_string(port), error);
    }
    listening.port = boundPort(listening.socket);
    return listening;
}

PeerName describePeer(const sockaddr_storage &address)
{
    constexpr std::string_view kMappedPrefix = "::ffff:";
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> port{};
    if (::getnameinfo(reinterpret_cast<const sockaddr *>(&address),
                      sizeof(address),
                      host.data(),
                      host.size(),
                      port.data(),
                      port.size(),
                      NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
        return {"unknown", "unknown"};
    }
    std::string text(host.data());
    if (text.starts_with(kMappedPrefix)) {
        text.erase(0, kMappedPrefix.size());
    }
    const std::string named = text.find(':') == std::string::npos ? text : "[" + text + "]";
    return {text, named + ":" + port.data()};
}

} // namespace gateway::dicom_helper::scp
