#pragma once

#include "app/command_line.h"
#include "app/control_protocol.h"
#include "app/home_layout.h"

namespace gateway::app {

/// Carries out a settings, setup or doctor request when no instance runs; for its length this process owns
/// the home.
///
/// Setup then asks the system for the port in place of starting the listener, and leaves the same marks.
///
/// Thread: main; blocks.
ControlReply
workWithoutInstance(const HomeLayout &layout, const GlobalOptions &options, const ControlRequest &request);

} // namespace gateway::app
