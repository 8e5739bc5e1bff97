#pragma once

namespace gateway::platform {

/// Ends the program when the caller is on another thread than the process's first, where the event loop runs.
/// What lives there has no locks: a call from elsewhere would corrupt it unseen. Costs a system call or two.
///
/// \param who  whose thread that is: the class's name.
///
/// Thread: any.
void assertMainThread(const char *who);

} // namespace gateway::platform
