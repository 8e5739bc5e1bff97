#pragma once

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusVariant>

namespace gateway::shell::testing {

/// A desktop's settings portal on a bus: keeps settings, tells of changes.
///
/// Owner: the test. Thread: main.
class FakePortal : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    /// Starts to serve on the bus; false when another one does.
    bool serve(QDBusConnection bus);

    /// Sets a setting and tells everybody.
    void set(const QString &group, const QString &key, const QVariant &value);

public Q_SLOTS:
    QDBusVariant Read(const QString &group, const QString &key);

Q_SIGNALS:
    void SettingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    QHash<QString, QVariant> m_settings;
};

} // namespace gateway::shell::testing
