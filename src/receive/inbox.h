#pragma once

#include "log/writing/gateway_log_event.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

namespace gateway::receive {

/// How an attempt to take a file out of the inbox ended: with nothing, or with the reason for the log.
struct InboxRemoval
{
    std::optional<log::GatewayLogError> error;
};

/// Removes an imported file. Call it only when the file's rows are durable.
InboxRemoval removeFromInbox(const QString &path);

/// The folder of an inbox where that lies which can't be imported.
QString setAsideFolder(const QString &inbox);

/// What was set aside there, by name; files that others put there aren't among it. Thread: any.
QStringList setAsideFiles(const QString &inbox);

/// What of the listener's lies in a folder that was its inbox.
enum class InboxContent
{
    nothing,
    something, ///< complete, unfinished or set aside
    outOfSight ///< no inbox is there, or it can't be read: nobody knows
};

/// Thread: any; blocks for as long as a share doesn't answer.
InboxContent contentOf(const QString &inbox);

/// The path in the inbox that a file had before it was set aside: the log knows it by that.
QString nameBeforeSetAside(const QString &path);

/// Moves a file that can't be imported to the folder for those, durably and under a name that nothing there
/// has: its sender was told that it is stored, so it isn't deleted.
InboxRemoval setAside(const QString &path);

} // namespace gateway::receive
