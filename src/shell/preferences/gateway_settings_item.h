#pragma once

#include <array>

namespace gateway::shell {

/// The categories of the preferences, in the order of their list.
enum class GatewaySettingsItem
{
    account,
    listener,
    quorinCloud
};

inline constexpr std::array kAllGatewaySettingsItems{
    GatewaySettingsItem::account, GatewaySettingsItem::listener, GatewaySettingsItem::quorinCloud};

} // namespace gateway::shell
