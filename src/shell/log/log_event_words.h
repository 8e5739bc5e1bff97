#pragma once

#include "log/writing/gateway_log_event.h"

#include <QtCore/QString>

namespace gateway::shell {

/// What happened, in words for people; the log's own word stands in the details. Thread: any.
QString wordsFor(log::GatewayLogAction action);

/// What came of it.
QString wordFor(log::GatewayLogOutcome outcome);

} // namespace gateway::shell
