#pragma once

#include <QtCore/QtGlobal>

namespace gateway::state {

/// Room that the file store takes and has, in bytes; never negative.
struct ReceivedStorageUsage
{
    qint64 usedBytes = 0;      ///< that it occupies on disk
    qint64 availableBytes = 0; ///< free on its volume

    bool operator==(const ReceivedStorageUsage &) const = default;
};

} // namespace gateway::state
