#pragma once

#include "core/dcm_listener_settings.h"
#include "platform/net_service/net_service_publishing.h"

#include <optional>

namespace gateway::receive {

/// What the gateway tells the local network about its listener; nothing when announcing is switched off or
/// the AE title is blank. Thread: any.
std::optional<platform::NetServiceDescription> bonjourRecord(const core::DCMListenerSettings &settings);

} // namespace gateway::receive
