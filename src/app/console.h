#pragma once

#include <QtCore/QString>

namespace gateway::app {

// The terminal. Thread: any; plain functions.

/// Writes the text to standard output as it stands.
void printOut(const QString &text);

/// Writes one line to standard error.
void printError(const QString &sentence);

/// One line of standard input without its end, not shown while it is typed.
QString readSecret();

} // namespace gateway::app
