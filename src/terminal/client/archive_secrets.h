#pragma once

#include "terminal/commands/archive_command.h"

#include <optional>

namespace gateway::terminal {

/// The sign-in of a command with what is secret in it, from standard input and from files. Nothing, with the
/// reason said, where a file can't be read. Thread: any; may wait for whoever types.
std::optional<cloud_client::ArchiveSignIn> withSecrets(const ArchiveCommand &command);

} // namespace gateway::terminal
