#pragma once

#include "platform/dicom_protocol/channel.h"

#include <chrono>
#include <functional>

namespace gateway::dicom_helper::worker {

/// The role `worker`: serves, confined from its first job on to what that needs; leaves, as if for want of
/// work, before a job that needs another folder for its output.
///
/// Thread: main, the only one. Doesn't return.
[[noreturn]] int run(platform::dicom_protocol::Channel channel);

/// Answers jobs on `channel` until it closes, until none has come for `idle`, or until one isn't admitted;
/// words.h tells which jobs there are. \return the exit status, 0: an end for want of work is no failure of a
/// job that just misses it.
int serve(platform::dicom_protocol::Channel channel,
          std::chrono::milliseconds idle,
          const std::function<bool(const platform::dicom_protocol::Record &)> &admits);

} // namespace gateway::dicom_helper::worker
