#pragma once

#include <QtCore/QByteArrayView>
#include <QtCore/QJsonObject>
#include <QtCore/QString>

namespace gateway::terminal {

// The terminal. Thread: any; plain functions.

/// Writes the text to standard output as it stands.
void printOut(const QString &text);

/// The number of the schema that the keys of JSON follow; a key that changes its meaning raises it.
inline constexpr int kJsonSchema = 1;

/// What --json prints of an answer: one line, with the number of the schema that its keys follow.
QString jsonLine(QJsonObject answer);

/// Writes bytes to standard output at once.
///
/// \return the system's error number; 0 when all are written, EPIPE when nobody reads them any more.
int writeOut(QByteArrayView bytes);

/// True when standard output is a pipe that nobody reads any more.
bool outputIsGone();

/// Writes one line to standard error.
void printError(const QString &sentence);

/// One line of standard input without its end, not shown while it is typed. \param prompt  for a terminal.
QString readSecret(const QString &prompt);

} // namespace gateway::terminal
