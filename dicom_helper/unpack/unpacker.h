#pragma once

#include "dicom_helper/unpack/archive_reader.h"
#include "dicom_helper/unpack/entry_sink.h"

#include <cstdint>
#include <functional>

namespace gateway::dicom_helper::unpack {

/// The most that one archive may come to.
struct Limits
{
    std::uint64_t entries = 0; ///< of any kind
    std::uint64_t bytes = 0;   ///< of all files together
};

struct Counts
{
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    std::uint64_t leftOut = 0; ///< links, devices and the like, which aren't unpacked

    bool operator==(const Counts &) const = default;
};

/// The archive holds more than the limits allow.
struct TooLarge : std::runtime_error
{
    TooLarge() : std::runtime_error("the archive is too large") {}
};

/// Unpacks all files of an archive.
///
/// \param progress  called again and again with what has been unpacked so far; what it throws ends the work.
/// \throws UnreadableArchive, TooLarge, NoStorage  what was unpacked until then stays in the sink.
Counts unpackAll(ArchiveReader &archive,
                 EntrySink &sink,
                 const Limits &limits,
                 const std::function<void(const Counts &)> &progress);

} // namespace gateway::dicom_helper::unpack
