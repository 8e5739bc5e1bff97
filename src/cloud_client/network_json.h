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

} // namespace gateway::cloud_client
