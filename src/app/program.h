#pragma once

#include "app/command_line.h"
#include "app/control_protocol.h"
#include "app/home_layout.h"

namespace gateway::app {

/// Runs the gateway without a display until it is told to quit. Where one runs for this home already, hands
/// the request to it and ends.
///
/// Thread: main, with an application object.
ExitCode runHeadless(const HomeLayout &layout, const GlobalOptions &options);

} // namespace gateway::app
