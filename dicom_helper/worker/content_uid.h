#pragma once

#include "dicom_helper/worker/byte_source.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace gateway::dicom_helper::worker {

/// A UID made of a file's bytes (below 2.25, PS3.5 B.2): the same bytes give the same UID, others another.
/// For telling apart objects that have none of their own; it is not written into any object.
std::string contentUid(ByteSource &file);

/// A number by which versions of one object are told apart, made of the bytes from `offset` on and of what
/// says how to read them; above 0. Indexes keep it: another one for the same bytes would make every stored
/// file a damaged one.
std::int64_t contentVersion(ByteSource &file, std::uint64_t offset, std::string_view transferSyntax);

} // namespace gateway::dicom_helper::worker
