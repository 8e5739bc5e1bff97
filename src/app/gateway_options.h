#pragma once

#include "core/home_layout.h"
#include "platform/sockets/listening_socket.h"

#include <QtCore/QString>

#include <functional>
#include <optional>

namespace gateway::app {

/// What one run of the gateway was told. Thread: a plain value.
struct GatewayOptions
{
    core::HomeLayout layout;
    QString bindAddress;
    std::optional<QString> cloudUrl;
    std::optional<QString> cloudKind;
    std::optional<platform::SocketAddress> metricsAddress;
    std::function<void(const QString &)> writeLine; ///< one plain line for operators
};

} // namespace gateway::app
