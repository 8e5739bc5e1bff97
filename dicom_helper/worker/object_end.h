#pragma once

#include "dicom_helper/worker/object_header.h"

#include <cstdint>
#include <string>

namespace gateway::dicom_helper::worker {

/// How an object ends, and what it lacks to end as PS3.5 wants it.
///
/// Thread: a plain value.
struct ObjectEnd
{
    /// True when an element, a fragment or a frame of the object isn't there whole, or may not be.
    bool isTooEarly = false;

    /// Where the last whole element or fragment ends in the dataset's bytes, or their end where that is too
    /// early or can't be told; what stands behind belongs to no element.
    std::uint64_t offset = 0;

    /// What a legal dataset has from `offset` on, and this one lacks: a delimiter, or padding.
    std::string missing;
};

/// Follows the object from its pixel data to its end. An object that lacks no more than a delimiter behind
/// its fragments or padding, and one with a few bytes too many, is whole (docs/decisions/0270). \throws
/// ReadError
ObjectEnd endOf(const ObjectHeader &header, DicomSource &source);

} // namespace gateway::dicom_helper::worker
