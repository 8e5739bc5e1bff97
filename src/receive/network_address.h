#pragma once

#include <QtCore/QString>

#include <optional>
#include <vector>

namespace gateway::receive {

/// One IPv4 address of one network interface of this machine.
struct InterfaceAddress
{
    QString interfaceName;
    QString address;  ///< numeric
    bool isUp = true; ///< up and running
    bool isLoopback = false;
};

/// The machine's IPv4 addresses, in the system's order. Thread: any.
std::vector<InterfaceAddress> interfaceAddresses();

/// The address to tell a modality: of those that are up and not loopback, the one whose interface ranks
/// best ("en" before "bridge" before "pdp_ip" before any other), the first on a tie.
std::optional<QString> primaryAddress(const std::vector<InterfaceAddress> &addresses);

/// "192.0.2.7", or "192.0.2.7:1115" with a port; "Unavailable" without an address.
QString addressText(const std::optional<QString> &address, std::optional<int> port);

/// The address to register in a modality for a listener on this port.
///
/// \param bindAddress  the one address that the listener binds; empty for all, of which the primary one is
/// told.
QString listenerAddressText(const QString &bindAddress, std::optional<int> port);

} // namespace gateway::receive
