#pragma once

#include "dicom_helper/worker/element_scanner.h"

#include <optional>
#include <string>

namespace gateway::dicom_helper::worker {

inline constexpr std::string_view kImplicitLittleEndian = "1.2.840.10008.1.2";
inline constexpr std::string_view kExplicitLittleEndian = "1.2.840.10008.1.2.1";
inline constexpr std::string_view kDeflatedExplicitLittleEndian = "1.2.840.10008.1.2.1.99";
inline constexpr std::string_view kExplicitBigEndian = "1.2.840.10008.1.2.2";
inline constexpr std::string_view kJpegLsLossless = "1.2.840.10008.1.2.4.80";

/// What the beginning of a file says of the rest (PS3.10 7.1).
struct FileLayout
{
    std::string transferSyntax; ///< as stated; empty without meta information
    std::string mediaStorageSopClass;
    std::string mediaStorageSopInstance;
    std::uint64_t datasetOffset = 0;
    bool deflated = false;

    /// True when preamble, prefix and meta information are as PS3.10 7.1 wants them: explicit little endian,
    /// ascending, with the right group length, and no UID of another representation.
    bool isRegular = false;

    /// True with the prefix "DICM" or with meta information; otherwise it is only a guess.
    bool isPart10 = false;
};

/// Reads preamble, prefix and meta information; what of these is missing stays empty.
FileLayout readLayout(ByteSource &file);

/// How the dataset at `offset` is written, by the look of its first element: files are about that more
/// honest than their meta information. Nothing when no element stands there.
std::optional<DatasetEncoding> sniffEncoding(ByteSource &source, std::uint64_t offset);

/// A UID as it serves for a key: without its padding. Two texts that differ stay different.
std::string uidText(std::string_view raw);

} // namespace gateway::dicom_helper::worker
