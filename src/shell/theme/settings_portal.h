#pragma once

#include <QtDBus/QDBusAbstractInterface>
#include <QtDBus/QDBusVariant>

namespace gateway::shell {

/// org.freedesktop.portal.Settings of the session's desktop.
///
/// Owner: DesktopPreferences. Thread: main.
class SettingsPortal : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    static constexpr const char *kService = "org.freedesktop.portal.Desktop";
    static constexpr const char *kPath = "/org/freedesktop/portal/desktop";
    static constexpr const char *kInterface = "org.freedesktop.portal.Settings";

    explicit SettingsPortal(const QDBusConnection &session)
        : QDBusAbstractInterface(QLatin1String(kService), QLatin1String(kPath), kInterface, session, nullptr)
    {
    }

Q_SIGNALS:
    // By the name that it has on the bus.
    void SettingChanged(const QString &group, const QString &key, const QDBusVariant &value);
};

} // namespace gateway::shell
