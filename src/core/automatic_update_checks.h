#pragma once

#include "platform/defaults/user_defaults.h"

namespace gateway::core {

/// The key under which is kept whether the program looks for updates of itself by itself.
inline const QString kAutomaticUpdateChecksKey = QStringLiteral("GatewayUpdater.AutomaticallyChecks");

/// True unless somebody switched it off. Thread: any.
inline bool areUpdatesCheckedAutomatically(const platform::UserDefaults &defaults)
{
    return defaults.object(kAutomaticUpdateChecksKey).value_or(QVariant(true)).toBool();
}

} // namespace gateway::core
