#pragma once

#include <QtCore/QString>

namespace gateway::updates {

// The words of a copy that needs an administrator, on systems whose place for programs isn't the user's. Here
// that place lies in the user's home and no administrator is asked; what must be right about such a command
// is its quoting. Thread: any.

/// The text as one word of a POSIX shell, whatever it holds.
QString shellQuoted(const QString &text);

/// Puts `source` in the place of what stands at `destination`, for its user.
QString privilegedCopyCommand(const QString &source, const QString &destination, const QString &userName);

/// A script that runs `command` with an administrator's rights.
QString privilegedScript(const QString &command);

} // namespace gateway::updates
