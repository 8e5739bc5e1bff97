#pragma once

#include "receive/source_look.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <stop_token>

namespace gateway::receive {

/// How reading a source ended.
enum class SourceOutcome
{
    done,
    unreadable,
    special,   ///< a pipe, a socket or a device; not opened
    noStorage, ///< the copy could not be written
    stopped
};

// Files of the operator's, which may lie on a slow or a failing medium. They are only read, and never waited
// for as one would for a pipe. Thread: any.

/// Copies a regular file to a new one. After any outcome but `done` there is a part of it, or nothing.
SourceOutcome
copySource(const QByteArray &path, const QString &destination, const std::stop_token &stop, Pulse &pulse);

} // namespace gateway::receive
