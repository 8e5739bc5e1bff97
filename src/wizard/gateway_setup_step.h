#pragma once

#include <QtCore/QString>

#include <array>

namespace gateway::wizard {

/// The steps of setup, in their order.
enum class GatewaySetupStep : int
{
    welcome = 0,
    listener = 1,
    localFiles = 2,
    quorinAccount = 3,
    summary = 4
};

inline constexpr std::array kAllGatewaySetupSteps{GatewaySetupStep::welcome,
                                                  GatewaySetupStep::listener,
                                                  GatewaySetupStep::localFiles,
                                                  GatewaySetupStep::quorinAccount,
                                                  GatewaySetupStep::summary};

// Words for people. Thread: plain functions.

QString stepTitle(GatewaySetupStep step);
QString stepDetail(GatewaySetupStep step);
QString stepSubtitle(GatewaySetupStep step);

} // namespace gateway::wizard
