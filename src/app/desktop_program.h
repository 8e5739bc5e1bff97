#pragma once

#include "app/command_line.h"
#include "app/control_protocol.h"
#include "app/home_layout.h"

namespace gateway::app {

/// Runs the gateway with its windows until it is told to quit. Where one runs for this home already, that one
/// comes to the front and this one ends.
///
/// \param argc, argv  as main got them.
///
/// Thread: main, before any application object is made.
ExitCode runDesktop(int &argc, char **argv, const HomeLayout &layout, const GlobalOptions &options);

} // namespace gateway::app
