#pragma once

#include "platform/dicom_protocol/record.h"

#include <string>

namespace gateway::dicom_helper::worker {

/// What is read of a file: the elements but for the pixels, or all of it.
enum class Look
{
    elements,
    whole
};

/// The answer to a parse job: `parsed` with the elements of the object at `path` and, where all of the file
/// is to be read and can be, its `version` as an answer of sendable.h bears it; or `unreadable`.
///
/// Lenient, since an object that was acknowledged to its sender must not be lost for a fault that a later
/// reader may live with: damage, odd encodings and missing attributes cost only what they concern.
platform::dicom_protocol::Record parseObject(const std::string &path, Look look);

} // namespace gateway::dicom_helper::worker
