#pragma once

#include "index/upload_failure.h"
#include "upload/upload_gate.h"

#include <QtCore/QJsonObject>
#include <QtCore/QStringList>

#include <optional>

namespace gateway::app {

/// What uploads wait for. Thread: a plain value.
struct WaitingUploads
{
    index::WaitingRetries retries;                         ///< files that failed and wait for their time
    std::optional<upload::UploadGate::Closure> pause = {}; ///< what all files wait for
};

/// `{"files", "nextTryAt", "pausedBy", "pausedFor", "pausedUntil"}`, the times in UTC.
QJsonObject toJson(const WaitingUploads &waiting);

/// The JSON object in words: no line, or one for each thing that is waited for.
QStringList waitingLines(const QJsonObject &waiting);

} // namespace gateway::app
