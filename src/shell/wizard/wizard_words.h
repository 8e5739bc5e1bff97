#pragma once

#include "shell/theme/tokens.h"
#include "wizard/gateway_setup_issue.h"
#include "wizard/setup_preflight.h"

#include <QtCore/QString>

namespace gateway::shell {

// How the wizard's values are shown. Thread: plain functions.

/// The word on the button of a repair.
QString fixTitle(wizard::GatewaySetupIssueFixAction action);

QString statusWord(wizard::GatewaySetupPreflightCheckStatus status);
QString statusSymbol(wizard::GatewaySetupPreflightCheckStatus status);
Color statusColor(wizard::GatewaySetupPreflightCheckStatus status);

} // namespace gateway::shell
