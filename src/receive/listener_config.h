#pragma once

#include "core/dcm_listener_settings.h"
#include "platform/dicom/store_scp.h"

#include <QtCore/QString>

namespace gateway::receive {

/// What the receiver is told by these settings, but for its folder. Thread: any; a pure function.
///
/// \param bindAddress  the one address that it binds; empty for all.
platform::StoreSCPConfig listenerConfig(const core::DCMListenerSettings &settings,
                                        const QString &bindAddress);

} // namespace gateway::receive
