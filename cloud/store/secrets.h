#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace gateway::cloud {

/// A text of 256 random bits, fit for a header field. Thread: any.
QByteArray randomToken();

/// SHA-256 as hexadecimal digits. Thread: any.
QByteArray sha256(const QByteArray &bytes);

/// A salted, slow hash of a password, as text with its parameters. Thread: any; takes tens of milliseconds.
QByteArray hashPassword(const QString &password);

/// Whether the password is the one that was hashed. Thread: any; takes tens of milliseconds.
bool passwordMatches(const QString &password, const QByteArray &hash);

} // namespace gateway::cloud
