#pragma once

#include "core/settings.h"
#include "platform/defaults/user_defaults.h"
#include "terminal/instance/settings_disk.h"

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>
#include <utility>

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

    /// \param disk  says what is at the paths that are to be kept.
    SettingsCatalogue(core::Settings &settings, platform::UserDefaults &defaults, SettingsDisk disk)
        : m_settings(settings), m_defaults(defaults), m_disk(std::move(disk))
    {
    }

    /// All settings, in a fixed order.
    QList<Entry> list() const;

    /// The value of a setting, or nothing when there is none of that name.
    std::optional<QString> get(const QString &key) const;

    /// Checks a value and keeps it.
    Outcome set(const QString &key, const QString &value);

    /// What became of several changes.
    struct Changes
    {
        QString issue;       ///< one sentence when not all was taken; empty otherwise
        QStringList changed; ///< the keys that have another value now
        bool needsListenerRestart = false;
    };

    /// Checks all values, one after the other as they will stand together, and keeps those that differ, once
    /// none is refused. Only a disk that fails meanwhile leaves some taken and some not, which the issue
    /// says.
    Changes setAll(const QMap<QString, QString> &values);

private:
    Changes setInOrder(const QMap<QString, QString> &values);

    core::Settings &m_settings;
    platform::UserDefaults &m_defaults;
    const SettingsDisk m_disk;
};

} // namespace gateway::terminal
