#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <cstdint>
#include <optional>

namespace gateway::index {

/// Reads what the parser found under a key; nothing when it is missing or of another type.
///
/// Thread: any; plain functions.
namespace elements {

std::optional<QString> text(const QVariantMap &elements, const QString &key);

/// Numbers are taken as they are (fractions cut off); a text is read as an optional sign and decimal digits;
/// anything else, or what doesn't fit 64 bits, gives `fallback`.
std::int64_t integer(const QVariantMap &elements, const QString &key, std::int64_t fallback);

std::optional<double> number(const QVariantMap &elements, const QString &key);

std::optional<bool> boolean(const QVariantMap &elements, const QString &key);

/// Milliseconds since 1970, UTC. A date without a time is the start of that day, local time.
std::optional<std::int64_t> date(const QVariantMap &elements, const QString &key);

/// Numbers as 32-bit floats, little-endian, one after the other.
std::optional<QByteArray> floats(const QVariantMap &elements, const QString &key);

} // namespace elements

} // namespace gateway::index
