#pragma once

#include "state/inbox_figures.h"

#include <QtCore/QString>

namespace gateway::state {

/// What a person should know of although nothing of it has failed. Thread: a plain value.
struct UpkeepFigures
{
    InboxFigures inbox;
    bool isStoreOutOfSight = false;   ///< where files were stored there is no store now
    bool isRetentionHeldBack = false; ///< the clock is in doubt, so nothing goes by its age
    qint64 filesToRecordAgain = 0;    ///< stored files that the index may lack; 0 once all have rows
    qint64 filesRecordedAgain = 0;    ///< of those
    QString formerIndex = {};         ///< the kept copy of the index of the version before; empty for none
    qint64 logBytes = 0;              ///< what the log files take
    qint64 logLimitBytes = 0;         ///< what they may take; 0 for no limit
};

} // namespace gateway::state
