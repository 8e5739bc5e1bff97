#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <optional>

namespace gateway::state {

/// What is known of the upload runs. Thread: a plain value.
struct UploadRunFigures
{
    bool isRunning = false;
    QString mode;             ///< execution mode of the current or last run; empty before the first
    QDateTime lastFinishedAt; ///< UTC; invalid before the first run has ended
    std::optional<QMap<QString, QString>> last; ///< summary of the last run that ended, by its log keys
};

} // namespace gateway::state
