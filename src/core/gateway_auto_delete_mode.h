#pragma once

#include "platform/defaults/published.h"

#include <QtCore/QString>

#include <array>
#include <optional>

namespace gateway::core {

/// What the retention policy counts in.
enum class GatewayAutoDeleteMode
{
    never,
    days,
    months
};

/// All cases, in the order in which they are offered.
inline constexpr std::array kAllGatewayAutoDeleteModes{
    GatewayAutoDeleteMode::never, GatewayAutoDeleteMode::days, GatewayAutoDeleteMode::months};

/// The text that stands in the settings: "never", "days" or "months".
QString rawValue(GatewayAutoDeleteMode mode);

/// The case with this text, or nothing.
std::optional<GatewayAutoDeleteMode> gatewayAutoDeleteModeFromRawValue(const QString &text);

} // namespace gateway::core

namespace gateway::platform {

template <>
struct StoredForm<core::GatewayAutoDeleteMode>
{
    static QVariant store(core::GatewayAutoDeleteMode mode) { return core::rawValue(mode); }

    static std::optional<core::GatewayAutoDeleteMode> read(const QVariant &stored)
    {
        const std::optional<QString> text = StoredForm<QString>::read(stored);
        return text ? core::gatewayAutoDeleteModeFromRawValue(*text) : std::nullopt;
    }
};

} // namespace gateway::platform
