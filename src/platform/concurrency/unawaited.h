#pragma once

#include <functional>

namespace gateway::platform {

/// Runs work that may never end, such as a question to a share that is dead, on a thread of its own that
/// nobody waits for: not its caller, and not the end of the program. Returns at once. Thread: any.
///
/// \param name  thread name, at most 15 characters.
/// \param work  holds nothing that dies before it; throws nothing. What it finds out it posts to a context
/// that
///              may be gone by then.
void runUnawaited(const char *name, std::function<void()> work);

} // namespace gateway::platform
