#pragma once

#include "dicom_helper/worker/object_header.h"

#include <cstdint>
#include <optional>

namespace gateway::dicom_helper::worker {

/// Number of Frames (0028,0008), where the pixel data can hold that many; nothing where the attribute is
/// absent, below 1, or more than the file has room for: a header alone can't claim two billion frames.
std::optional<std::int64_t> believableFrameCount(const ObjectHeader &header, DicomSource &source);

/// How many bits a native frame has by the attributes; nothing where they make no frame.
std::optional<std::uint64_t> nativeFrameBits(const ObjectHeader &header);

/// MPEG-2, MPEG-4 and HEVC hold all frames in one stream (PS3.5 8.2.5 to 8.2.9).
bool isVideo(std::string_view transferSyntax);

} // namespace gateway::dicom_helper::worker
