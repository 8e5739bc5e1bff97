#pragma once

#include "log/browsing/log_filter.h"
#include "log/writing/gateway_log_event.h"
#include "shell/theme/tokens.h"

#include <QtCore/QString>

namespace gateway::shell {

/// The words of the filter menus.
QString wordFor(log::LevelFilter filter);
QString wordFor(log::CategoryFilter filter);

/// The words of a row: those of the filter that shows it.
QString wordFor(log::GatewayLogLevel level);
QString wordFor(log::GatewayLogCategory category);

/// The colour that goes with a level's word.
Color colorFor(log::GatewayLogLevel level);

/// The colour that goes with an outcome's word.
Color colorFor(log::GatewayLogOutcome outcome);

} // namespace gateway::shell
