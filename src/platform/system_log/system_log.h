#pragma once

#include <QtCore/QString>

namespace gateway::platform {

/// The types of message that the system log tells apart.
enum class SystemLogLevel
{
    debug,
    info,
    error
};

/// The machine's own log, which people read with the machine's own tools.
///
/// Thread: any. Nothing here throws; a message may get lost.
class SystemLog
{
public:
    virtual ~SystemLog() = default;

    /// Writes one message.
    ///
    /// \param subsystem, category  which program and which part of it speaks.
    virtual void write(SystemLogLevel level, QString subsystem, QString category, QString message) = 0;

    /// False when messages of this type go nowhere, so that callers needn't build them.
    virtual bool enabled(SystemLogLevel level) const = 0;
};

} // namespace gateway::platform
