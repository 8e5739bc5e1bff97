#pragma once

#include <QtCore/QString>

#include <functional>

namespace gateway::wizard {

/// Whether a TCP port can be listened on.
enum class PortState
{
    available,
    inUse,     ///< another process has it
    forbidden, ///< this user may not listen on it
    noAddress  ///< the address to listen on isn't one of this machine
};

using PortProbe = std::function<PortState(int port)>;

/// Binds the port for a moment, without options, as a listener would.
///
/// \param bindAddress  numeric IPv4 address, or empty for all interfaces.
///
/// Thread: any. A fault of the system counts as `inUse`.
PortState probePort(int port, const QString &bindAddress);

} // namespace gateway::wizard
