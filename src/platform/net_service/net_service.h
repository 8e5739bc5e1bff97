#pragma once

#include "platform/net_service/net_service_publishing.h"

#include <QtCore/QObject>
#include <QtDBus/QDBusConnection>

#include <functional>
#include <memory>

class QDBusPendingCall;
class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

namespace gateway::platform {

class AvahiEntryGroupProxy;
class AvahiServerProxy;

/// Keeps one service announced by the Avahi daemon, also over the daemon's restart.
///
/// Owner: whoever publishes. Thread: main; nothing here blocks.
class NetService final : public QObject, public NetServicePublication
{
    Q_OBJECT

public:
    NetService(NetServiceDescription description, QDBusConnection bus, SystemLog &systemLog);
    ~NetService() override;

    /// Begins to announce; what comes of it is told in the system log.
    void publish();

    /// Withdraws the service; a later `publish` begins anew.
    void stop();

private:
    using OnReply = std::function<void(const QDBusPendingCallWatcher &)>;

    void makeGroup();
    void adoptGroup(const QString &path);
    void dropGroup();
    void addService();
    void commit();
    void takeAnotherName();
    void ownerChanged(const QString &newOwner);
    void serverStateChanged(int state);
    void groupStateChanged(int state, const QString &error);
    void await(const QDBusPendingCall &call, OnReply onReply);
    void warn(const QString &reason);

    const NetServiceDescription m_description;
    const QDBusConnection m_bus;
    SystemLog &m_systemLog;
    QString m_name;        // as announced, after collisions
    quint64 m_attempt = 0; // rises when replies under way have become stale
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
    std::unique_ptr<AvahiServerProxy> m_server;
    std::unique_ptr<AvahiEntryGroupProxy> m_group;
};

} // namespace gateway::platform
