#include "receive/network_address.h"

#include <array>

#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>

namespace gateway::receive {

namespace {

int rankOf(const QString &interfaceName)
{
    if (interfaceName.startsWith(QStringLiteral("en"))) {
        return 0;
    }
    if (interfaceName.startsWith(QStringLiteral("bridge"))) {
        return 1;
    }
    if (interfaceName.startsWith(QStringLiteral("pdp_ip"))) {
        return 2;
    }
    return 9;
}

QString numericAddress(const sockaddr &address)
{
    std::array<char, NI_MAXHOST> text{};
    if (::getnameinfo(&address, sizeof(sockaddr_in), text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) !=
        0) {
        return {};
    }
    return QString::fromLatin1(text.data());
}

} // namespace

std::vector<InterfaceAddress> interfaceAddresses()
{
    ifaddrs *first = nullptr;
    if (::getifaddrs(&first) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> list(first, &::freeifaddrs);
    std::vector<InterfaceAddress> addresses;
    for (const ifaddrs *entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        constexpr unsigned kUsable = IFF_UP | IFF_RUNNING;
        addresses.push_back({QString::fromLocal8Bit(entry->ifa_name),
                             numericAddress(*entry->ifa_addr),
                             (entry->ifa_flags & kUsable) == kUsable,
                             (entry->ifa_flags & IFF_LOOPBACK) != 0});
    }
    return addresses;
}

std::optional<QString> primaryAddress(const std::vector<InterfaceAddress> &addresses)
{
    const InterfaceAddress *best = nullptr;
    for (const InterfaceAddress &candidate : addresses) {
        if (!candidate.isUp || candidate.isLoopback || candidate.address.isEmpty()) {
            continue;
        }
        if (best == nullptr || rankOf(candidate.interfaceName) < rankOf(best->interfaceName)) {
            best = &candidate;
        }
    }
    return best == nullptr ? std::nullopt : std::optional(best->address);
}

QString listenerAddressText(const QString &bindAddress, std::optional<int> port)
{
    return addressText(
        bindAddress.isEmpty() ? primaryAddress(interfaceAddresses()) : std::optional(bindAddress), port);
}

QString addressText(const std::optional<QString> &address, std::optional<int> port)
{
    if (!address) {
        return QStringLiteral("Unavailable");
    }
    return port ? QStringLiteral("%1:%2").arg(*address).arg(*port) : *address;
}

} // namespace gateway::receive
