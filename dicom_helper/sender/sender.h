#pragma once

#include "platform/dicom_protocol/channel.h"

namespace gateway::dicom_helper::sender {

/// The role `sender`: one job, after which it ends. \return the exit status.
int run(platform::dicom_protocol::Channel channel);

} // namespace gateway::dicom_helper::sender
