#pragma once

#include "log/writing/gateway_log_event.h"

namespace gateway::log {

/// Where services send their events.
///
/// Thread: any. An implementation never throws towards its caller and never makes it wait for a disk; an
/// event may get lost.
class GatewayLogging
{
public:
    virtual ~GatewayLogging() = default;

    virtual void log(GatewayLogEvent event) = 0;
};

} // namespace gateway::log
