#pragma once

#include "core/gateway_auto_delete_mode.h"
#include "core/retention_policy.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::terminal {

/// A retention policy as the command line words it.
struct RetentionOption
{
    core::GatewayAutoDeleteMode mode = core::GatewayAutoDeleteMode::never;
    QString valueText; ///< empty under `never`; not checked for its bounds yet
};

/// Reads "never", "30-days" or "6-months"; nothing for any other form.
std::optional<RetentionOption> parseRetentionOption(const QString &text);

/// The same words for a policy.
QString retentionText(const core::RetentionPolicy &policy);

} // namespace gateway::terminal
