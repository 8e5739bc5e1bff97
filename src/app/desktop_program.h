#pragma once

#include "core/home_layout.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

namespace gateway::app {

/// Runs the gateway with its windows until it is told to quit. Where one runs for this home already, that one
/// comes to the front and this one ends.
///
/// \param argc, argv  as main got them.
///
/// Thread: main, before any application object is made.
terminal::ExitCode
runDesktop(int &argc, char **argv, const core::HomeLayout &layout, const terminal::GlobalOptions &options);

} // namespace gateway::app
