#pragma once

#include "app/command_line.h"
#include "app/control_protocol.h"
#include "app/home_layout.h"

namespace gateway::app {

/// Carries out a command against the running instance, or without one where the command can do so; prints
/// what it has to say.
///
/// Thread: main; blocks. No event loop runs when it is called.
ExitCode runCommand(const HomeLayout &layout, const Invocation &invocation);

} // namespace gateway::app
