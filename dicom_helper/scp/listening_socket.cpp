#include "dicom_helper/scp/listening_socket.h"

#include "dicom_helper/scp/refusal.h"
#include "platform/dicom_protocol/words.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace gateway::dicom_helper::scp {

namespace refusal = platform::dicom_protocol::refusal;

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
        throw Refusal(refusal::kAddressUnknown, {{"address", address}});
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
        throw Refusal(refusal::kPortTaken, {{"port", port}});
    }
    if (error == EACCES) {
        throw Refusal(refusal::kPortReserved, {{"port", port}});
    }
    if (error == EADDRNOTAVAIL) {
        throw Refusal(refusal::kAddressNotHere, {{"address", address}});
    }
    throw Refusal(refusal::kPortUnusable, {{"port", port}, {"error", std::to_string(error)}});
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
        throw Refusal(refusal::kPortImpossible, {{"port", std::to_string(port)}});
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
