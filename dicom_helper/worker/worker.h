#pragma once

#include "platform/dicom_protocol/channel.h"

#include <chrono>

namespace gateway::dicom_helper::worker {

/// The role `worker`: limits the process, then serves.
///
/// Thread: main, the only one. \return the exit status.
int run(platform::dicom_protocol::Channel channel);

/// Answers jobs on `channel` until it closes, or until none has come for `idle`; words.h tells which jobs
/// there are. \return the exit status, 0: an end for want of work is no failure of a job that just misses it.
int serve(platform::dicom_protocol::Channel channel, std::chrono::milliseconds idle);

} // namespace gateway::dicom_helper::worker
