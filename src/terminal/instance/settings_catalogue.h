#pragma once

#include "core/settings.h"
#include "platform/defaults/user_defaults.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <optional>

namespace gateway::terminal {

/// The settings as the command line shows and changes them: every key of the user's defaults, the members of
/// the listener's record as keys of their own ("ListenerSettings.port"), and the retention policy as a whole
/// ("GatewayAutoDelete"). Values are checked as the screens check them.
///
/// Owner: Gateway, or a command that runs without an instance. Thread: main.
class SettingsCatalogue
{
public:
    struct Entry
    {
        QString key;
        QString value; ///< empty when the setting is absent
        bool isFixed;  ///< kept by the gateway itself; can't be set
    };

    /// What became of a change.
    struct Outcome
    {
        QString issue;             ///< one sentence when nothing was changed; empty otherwise
        bool isUnknownKey = false; ///< there is no such setting
        bool needsListenerRestart = false;
    };

    SettingsCatalogue(core::Settings &settings, platform::UserDefaults &defaults)
        : m_settings(settings), m_defaults(defaults)
    {
    }

    /// All settings, in a fixed order.
    QList<Entry> list() const;

    /// The value of a setting, or nothing when there is none of that name.
    std::optional<QString> get(const QString &key) const;

    /// Checks a value and keeps it.
    Outcome set(const QString &key, const QString &value);

private:
    core::Settings &m_settings;
    platform::UserDefaults &m_defaults;
};

} // namespace gateway::terminal
