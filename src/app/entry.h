#pragma once

#include "app/command_line.h"
#include "app/control_protocol.h"
#include "app/home_layout.h"

#include <functional>

namespace gateway::app {

/// What both programs of the gateway begin with: how the process treats signals and files, its name, the
/// command line. A command line that ends the program by itself is answered here.
///
/// \param run  called with everything else.
/// \return the exit code.
///
/// Thread: main, before any application object is made.
int enter(int argc, char **argv, const std::function<ExitCode(const Invocation &, const HomeLayout &)> &run);

} // namespace gateway::app
