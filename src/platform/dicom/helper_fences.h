#pragma once

#include <QtCore/QString>

#include <optional>

namespace gateway::platform {

/// What of its confinement a process that reads strangers' bytes gets from this system.
struct HelperFences
{
    bool files = false; ///< it reaches no files but those of its work
    bool calls = false; ///< it reaches no network, no other program and no other process
};

/// Asks a process of the helper program that confines itself and ends.
///
/// \return nothing where it gave no answer. Blocks for as long, for some seconds at most. Thread: any.
std::optional<HelperFences> askForFences(const QString &helperProgram);

} // namespace gateway::platform
