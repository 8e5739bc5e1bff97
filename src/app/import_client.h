#pragma once

#include "app/command_line.h"
#include "app/control_protocol.h"
#include "app/home_layout.h"

namespace gateway::app {

/// Has the running instance import, shows how far it is, and tells what became of it.
///
/// Ctrl+C asks the instance to stop the batch and waits for its summary; a second one ends the program alone.
/// On a terminal the progress is one line on standard error that is written again and again.
///
/// Thread: main; blocks.
ExitCode runImport(const HomeLayout &layout, const ImportCommand &command);

} // namespace gateway::app
