#pragma once

#include "terminal/control/control_protocol.h"

#include <QtCore/QString>

#include <chrono>
#include <optional>

namespace gateway::terminal {

/// Asks the running instance, and waits for its answer.
///
/// \param socketPath  the instance's control socket.
/// \param timeout    how long the answer may take.
/// \return nothing when no instance listens there; a failure with a sentence when it doesn't answer in time
/// or
///         hangs up.
///
/// Thread: any; blocks.
std::optional<ControlReply>
askInstance(const QString &socketPath, const ControlRequest &request, std::chrono::milliseconds timeout);

/// What a command says that needs an instance where none runs.
ControlReply noInstance();

} // namespace gateway::terminal
