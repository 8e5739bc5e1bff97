#pragma once

#include "core/home_layout.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

#include <functional>

namespace gateway::app {

class Gateway;
class GatewayFace;

/// Runs the gateway behind this face until it is told to quit. Where one runs for this home already, hands
/// the request to it and ends.
///
/// \param join  called once the gateway is made, before its launch, so that a face with screens gets them.
///
/// Thread: main, with an application object.
terminal::ExitCode runInstance(const core::HomeLayout &layout,
                               const terminal::GlobalOptions &options,
                               GatewayFace &face,
                               const std::function<void(Gateway &)> &join);

/// Runs the gateway without a display.
///
/// Thread: main, with an application object.
terminal::ExitCode runHeadless(const core::HomeLayout &layout, const terminal::GlobalOptions &options);

} // namespace gateway::app
