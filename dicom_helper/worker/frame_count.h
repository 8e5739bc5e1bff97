#pragma once

#include "dicom_helper/worker/object_header.h"

#include <cstdint>
#include <optional>

namespace gateway::dicom_helper::worker {

/// Number of Frames (0028,0008), where the pixel data can hold that many; nothing where the attribute is
/// absent, below 1, or more than the file has room for: a header alone can't claim two billion frames.
std::optional<std::int64_t> believableFrameCount(const ObjectHeader &header, DicomSource &source);

} // namespace gateway::dicom_helper::worker
