#pragma once

#include <cstdint>

namespace gateway::dicom_helper::unpack {

/// Takes from this process, for good, what unpacking doesn't need: memory beyond 1 GiB, processor time beyond
/// an hour, files larger than `fileBytes`, the network, other programs, other processes, and all files but
/// new ones below `folder` and those that are open already.
///
/// The limits hold everywhere. The rest holds where the kernel offers it (Landlock since 5.13, seccomp) and
/// is passed over where it doesn't. Thread: main, the only one.
///
/// \param folder  a descriptor of the folder.
void confine(int folder, std::uint64_t fileBytes);

} // namespace gateway::dicom_helper::unpack
