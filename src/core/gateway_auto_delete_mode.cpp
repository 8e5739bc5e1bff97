#include "core/gateway_auto_delete_mode.h"

namespace gateway::core {

QString rawValue(GatewayAutoDeleteMode mode)
{
    switch (mode) {
    case GatewayAutoDeleteMode::never:
        return QStringLiteral("never");
    case GatewayAutoDeleteMode::days:
        return QStringLiteral("days");
    case GatewayAutoDeleteMode::months:
        return QStringLiteral("months");
    }
    return {};
}

std::optional<GatewayAutoDeleteMode> gatewayAutoDeleteModeFromRawValue(const QString &text)
{
    for (const GatewayAutoDeleteMode mode : kAllGatewayAutoDeleteModes) {
        if (text == rawValue(mode)) {
            return mode;
        }
    }
    return std::nullopt;
}

} // namespace gateway::core
