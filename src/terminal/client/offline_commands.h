#pragma once

#include "core/home_layout.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

namespace gateway::terminal {

/// Carries out a settings, setup or doctor request when no instance runs; for its length this process owns
/// the home.
///
/// Setup then asks the system for the port in place of starting the listener, and leaves the same marks.
///
/// Thread: main; blocks.
ControlReply workWithoutInstance(const core::HomeLayout &layout,
                                 const GlobalOptions &options,
                                 const ControlRequest &request);

} // namespace gateway::terminal
