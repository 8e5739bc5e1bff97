#pragma once

#include "app/command_line.h"
#include "app/control_protocol.h"
#include "app/home_layout.h"

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
ExitCode runInstance(const HomeLayout &layout,
                     const GlobalOptions &options,
                     GatewayFace &face,
                     const std::function<void(Gateway &)> &join);

/// Runs the gateway without a display.
///
/// Thread: main, with an application object.
ExitCode runHeadless(const HomeLayout &layout, const GlobalOptions &options);

} // namespace gateway::app
