#pragma once

#include "log/writing/gateway_log_event.h"

#include <QtCore/QString>
#include <QtCore/QUrl>

#include <optional>

namespace gateway::log {

// What turns names, paths and texts into what may stand in a log. No function here keeps state or throws;
// all may be called on any thread.

/// The first 16 digits of the lower-case hexadecimal SHA-256 of the trimmed text, without salt: the same
/// text gives the same hash on every machine, so that records about one file or study can be matched.
///
/// \return nothing for absent or blank text.
std::optional<QString> hashedIdentifier(const std::optional<QString> &text);

/// The hash of a file's path, with "." and ".." removed as text; the file itself isn't looked at.
std::optional<QString> hashedFileURL(const std::optional<QUrl> &url);

/// The size of the file in bytes; nothing when there is no such file or it can't be read.
std::optional<qint64> fileSizeBytes(const std::optional<QUrl> &url);

/// An error as it may be logged: domain and code as they stand, the description as a hash only.
GatewayLogError redactedError(const QString &domain, qint64 code, const QString &description);

/// A fresh random UUID in its upper-case form of 36 characters.
QString newUuidText();

} // namespace gateway::log
