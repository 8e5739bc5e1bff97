#pragma once

#include "core/home_layout.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

namespace gateway::terminal {

/// Carries out a command against the running instance, or without one where the command can do so; prints
/// what it has to say.
///
/// Thread: main; blocks. No event loop runs when it is called.
ExitCode runCommand(const core::HomeLayout &layout, const Invocation &invocation);

} // namespace gateway::terminal
