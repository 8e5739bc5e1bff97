#pragma once

#include "platform/dicom_protocol/channel.h"

namespace gateway::dicom_helper::scp {

/// The role "scp": takes associations until it is told to stop or the channel closes.
///
/// \return the status that the program ends with: 0 after a stop, 1 when it could not listen.
int run(platform::dicom_protocol::Channel channel);

} // namespace gateway::dicom_helper::scp
