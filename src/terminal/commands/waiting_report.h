#pragma once

#include "upload/waiting_uploads.h"

#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

namespace gateway::terminal {

/// `{"files", "nextTryAt", "pausedBy", "pausedFor", "pausedUntil"}`, the times in UTC.
QJsonObject toJson(const upload::WaitingUploads &waiting);

/// The JSON object in words: no line, or one for each thing that is waited for.
QStringList waitingLines(const QJsonObject &waiting);

} // namespace gateway::terminal
