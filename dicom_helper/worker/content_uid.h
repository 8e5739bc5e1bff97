#pragma once

#include "dicom_helper/worker/byte_source.h"

#include <string>

namespace gateway::dicom_helper::worker {

/// A UID made of a file's bytes (below 2.25, PS3.5 B.2): the same bytes give the same UID, others another.
/// For telling apart objects that have none of their own; it is not written into any object.
std::string contentUid(ByteSource &file);

} // namespace gateway::dicom_helper::worker
