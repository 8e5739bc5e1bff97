#pragma once

#include "core/gateway_auto_delete_mode.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::app {

/// A retention policy as the command line words it.
struct RetentionOption
{
    core::GatewayAutoDeleteMode mode = core::GatewayAutoDeleteMode::never;
    QString valueText; ///< empty under `never`; not checked for its bounds yet
};

/// Reads "never", "30-days" or "6-months"; nothing for any other form.
std::optional<RetentionOption> parseRetentionOption(const QString &text);

} // namespace gateway::app
