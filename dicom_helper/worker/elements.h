#pragma once

#include "platform/dicom_protocol/record.h"

#include <string>

namespace gateway::dicom_helper::worker {

/// The answer to a parse job: `parsed` with the elements of the object at `path`, or `unreadable`.
///
/// Lenient, since an object that was acknowledged to its sender must not be lost for a fault that a later
/// reader may live with: damage, odd encodings and missing attributes cost only what they concern.
platform::dicom_protocol::Record parseObject(const std::string &path);

} // namespace gateway::dicom_helper::worker
