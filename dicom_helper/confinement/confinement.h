#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace gateway::dicom_helper {

/// What a process may still do with a folder and all below it.
enum class FolderUse
{
    read,     ///< read files and list folders
    fill,     ///< make files and folders, and write into them
    keepFiles ///< make, write, move and remove files
};

/// What is left to a process that reads strangers' bytes.
struct Confinement
{
    struct Place
    {
        int folder; // a descriptor of it
        FolderUse use;
    };

    std::vector<Place> places;
    std::optional<std::uint64_t> fileBytes = std::nullopt; ///< the longest file that it may write
    std::optional<std::uint64_t> processorSeconds = std::nullopt;
};

/// Which fences stand.
struct Fences
{
    bool files = false; ///< around the files: Landlock
    bool calls = false; ///< around the system calls: seccomp
};

/// Takes from this process, for good, what it doesn't need: memory beyond 1 GiB, core files, more than 64
/// descriptors, the network but for what is open, other programs, starting and reaching other processes, and
/// all files but those of its places and those that are open already: their contents, lengths, owners, rights
/// and times. It keeps threads.
///
/// The limits hold everywhere. The rest holds where the kernel offers it (Landlock since 5.13, and since 5.19
/// with a folder to keep files in; seccomp) and is passed over where it doesn't. What runs at a process's end
/// may miss it, so such a process ends by _Exit. \return what of the rest the kernel gave. Thread: main, the
/// only one.
Fences confine(const Confinement &confinement);

/// Takes from this process, for good, what a listener doesn't need once it listens: core files, new rights,
/// the network but for what is open and what comes in, other programs, and what others do in their memory. It
/// keeps its files, of which a share that comes back needs new ones, and may start and end processes, which
/// take the rest themselves. It ends by _Exit, too. \return whether the kernel has taken it. Thread: main,
/// the only one.
bool confineListener();

} // namespace gateway::dicom_helper
