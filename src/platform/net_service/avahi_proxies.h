#pragma once

#include <QtDBus/QDBusAbstractInterface>

namespace gateway::platform {

inline const QString kAvahiName = QStringLiteral("org.freedesktop.Avahi");

/// The daemon, as its bus object shows it. Thread: main.
class AvahiServerProxy final : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    explicit AvahiServerProxy(const QDBusConnection &bus)
        : QDBusAbstractInterface(
              kAvahiName, QStringLiteral("/"), "org.freedesktop.Avahi.Server", bus, nullptr)
    {
    }

Q_SIGNALS:
    void StateChanged(int state, const QString &error);
};

/// A group of records that the daemon announces together. Thread: main.
class AvahiEntryGroupProxy final : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    AvahiEntryGroupProxy(const QString &path, const QDBusConnection &bus)
        : QDBusAbstractInterface(kAvahiName, path, "org.freedesktop.Avahi.EntryGroup", bus, nullptr)
    {
    }

Q_SIGNALS:
    void StateChanged(int state, const QString &error);
};

} // namespace gateway::platform
