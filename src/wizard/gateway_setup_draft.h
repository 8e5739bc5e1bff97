#pragma once

#include "core/gateway_auto_delete_mode.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::wizard {

/// The settings as entered; nothing of it is written before setup is finished. Thread: a plain value.
struct GatewaySetupDraft
{
    QString aeTitle;  ///< as typed; formatted when the field is left
    QString portText; ///< digits alone
    bool advertiseWithBonjour = true;
    std::optional<QString> destinationFolder; ///< nothing means the default incoming folder
    core::GatewayAutoDeleteMode autoDeleteMode = core::GatewayAutoDeleteMode::never;
    QString autoDeleteValueText; ///< digits alone; empty under `never`
    QString accountEmail;
    QString accountPassword; ///< gone after a sign-in that worked, and after signing out
    QString listenerAddress; ///< follows from the port
};

} // namespace gateway::wizard
