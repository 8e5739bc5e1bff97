#pragma once

#include "core/home_layout.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

namespace gateway::terminal {

/// Has the running instance import, shows how far it is, and tells what became of it.
///
/// Ctrl+C asks the instance to stop the batch and waits for its summary; a second one ends the program alone.
/// On a terminal the progress is one line on standard error that is written again and again.
///
/// Thread: main; blocks.
ExitCode
runImport(const core::HomeLayout &layout, const GlobalOptions &options, const ImportCommand &command);

} // namespace gateway::terminal
