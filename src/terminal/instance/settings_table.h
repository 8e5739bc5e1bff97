#pragma once

#include "core/settings.h"
#include "platform/defaults/user_defaults.h"
#include "terminal/instance/settings_disk.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <functional>
#include <optional>

namespace gateway::terminal {

/// What settings are kept in, and checked by.
struct SettingsGround
{
    core::Settings &settings;
    platform::UserDefaults &defaults;
    const SettingsDisk &disk;
};

/// One setting of the catalogue: how it is shown, and how a value is checked and kept.
struct CatalogueSetting
{
    using Read = std::function<QString(const core::Settings &, const platform::UserDefaults &)>;

    /// Returns the sentence when the value isn't taken; nothing has changed then.
    using Write = std::function<std::optional<QString>(const SettingsGround &, const QString &)>;

    QString key;
    Read read;
    Write write;              ///< empty for what the gateway keeps itself
    bool isListeners = false; ///< a running listener goes by the old value until it is restarted
};

/// All settings, in the order in which they are shown.
const QList<CatalogueSetting> &settingsTable();

} // namespace gateway::terminal
