#include "shell/testing/fake_portal.h"

#include <utility>

namespace gateway::shell::testing {

bool FakePortal::serve(QDBusConnection bus)
{
    qRegisterMetaType<QDBusVariant>(); // by name, for the signal
    return bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"),
                              this,
                              QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
           bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
}

void FakePortal::set(const QString &group, const QString &key, const QVariant &value)
{
    m_settings[group + u'/' + key] = value;
    Q_EMIT SettingChanged(group, key, QDBusVariant(value));
}

QDBusVariant FakePortal::Read(const QString &group, const QString &key)
{
    // Wrapped twice, as the real one does in this call.
    return QDBusVariant(QVariant::fromValue(QDBusVariant(m_settings.value(group + u'/' + key, 0U))));
}

} // namespace gateway::shell::testing
