#pragma once

#include "core/home_layout.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

#include <functional>

namespace gateway::app {

/// What both programs of the gateway begin with: how the process treats signals and files, its name, the
/// command line. A command line that ends the program by itself is answered here.
///
/// \param run  called with everything else.
/// \return the exit code.
///
/// Thread: main, before any application object is made.
int enter(
    int argc,
    char **argv,
    const std::function<terminal::ExitCode(const terminal::Invocation &, const core::HomeLayout &)> &run);

} // namespace gateway::app
