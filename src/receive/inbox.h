#pragma once

#include "log/gateway_log_event.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::receive {

/// How an attempt to take a file out of the inbox ended: with nothing, or with the reason for the log.
struct InboxRemoval
{
    std::optional<log::GatewayLogError> error;
};

/// Removes an imported file. Call it only when the file's rows are durable.
InboxRemoval removeFromInbox(const QString &path);

/// Moves a file that can't be imported to the folder `.rejected` beside it, durably and under a name that
/// nothing there has: its sender was told that it is stored, so it isn't deleted.
InboxRemoval setAside(const QString &path);

} // namespace gateway::receive
