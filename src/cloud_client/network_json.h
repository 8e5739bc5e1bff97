#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

#include <optional>

namespace gateway::cloud_client {

/// Reads JSON that came over the network, with bounded nesting.
///
/// Objects become QVariantMap, arrays QVariantList, whole numbers qlonglong where they fit, other numbers
/// double, null std::nullptr_t. Nothing for anything that isn't one well-formed JSON text. Thread: any.
std::optional<QVariant> parseNetworkJson(const QByteArray &text);

/// The same, with U+FFFD for each piece of text that can't be read: bytes that aren't UTF-8, halves of a
/// surrogate pair. So one name in another character set doesn't cost a whole list.
std::optional<QVariant> parseForeignJson(const QByteArray &text);

} // namespace gateway::cloud_client
