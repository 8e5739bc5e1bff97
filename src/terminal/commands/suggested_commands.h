#pragma once

#include "terminal/commands/command_line.h"

#include <QtCore/QString>

namespace gateway::terminal {

/// A text for people whose commands of this program ("run: quorin-gateway status") reach the same gateway
/// that this run was told of: they get its --home, --cloud and --cloud-kind, quoted for a shell.
QString withOptions(const QString &text, const GlobalOptions &options);

} // namespace gateway::terminal
