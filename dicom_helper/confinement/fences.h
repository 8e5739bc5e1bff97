#pragma once

#include "platform/dicom_protocol/channel.h"

namespace gateway::dicom_helper {

/// The role "fences": confines itself as the process of an association does, and tells by one record what of
/// it the kernel gave. Doesn't return. Thread: main, the only one.
[[noreturn]] int tellFences(platform::dicom_protocol::Channel channel);

} // namespace gateway::dicom_helper
