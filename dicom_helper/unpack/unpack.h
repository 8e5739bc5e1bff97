#pragma once

#include "platform/dicom_protocol/channel.h"

namespace gateway::dicom_helper::unpack {

/// The role `unpack`: takes one job, confines the process to it, does it and ends; words.h tells what is
/// said.
///
/// Thread: main, the only one. Doesn't return.
[[noreturn]] int run(platform::dicom_protocol::Channel channel);

} // namespace gateway::dicom_helper::unpack
