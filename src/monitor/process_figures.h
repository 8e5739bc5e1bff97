#pragma once

#include <QtCore/QtGlobal>

namespace gateway::monitor {

/// What the gateway's own process takes of the machine; its helper programs aren't in it.
///
/// Thread: a plain value.
struct ProcessFigures
{
    double cpuSeconds = 0; ///< user and system, since the start
    qint64 residentBytes = 0;
    qint64 openFiles = 0;
    double startedAt = 0; ///< seconds since 1970
};

/// Reads the figures; what can't be had is 0. Thread: any.
ProcessFigures readProcessFigures();

} // namespace gateway::monitor
