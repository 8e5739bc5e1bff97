#include "platform/net_service/net_service.h"

#include "platform/concurrency/main_thread.h"
#include "platform/net_service/avahi_proxies.h"
#include "platform/system_log/system_log.h"

#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>
#include <QtDBus/QDBusServiceWatcher>

#include <utility>

namespace gateway::platform {

namespace {

// The daemon's own numbers.
constexpr int kAnyInterface = -1;
constexpr int kAnyProtocol = -1;
constexpr int kServerRunning = 2;
constexpr int kGroupEstablished = 2;
constexpr int kGroupCollision = 3;
constexpr int kGroupFailure = 4;

void say(SystemLog &log, SystemLogLevel level, const QString &message)
{
    log.write(level, QStringLiteral("com.ovelt.QuorinGateway"), QStringLiteral("listener"), message);
}

QByteArrayList txtRecord(const QMap<QString, QByteArray> &pairs)
{
    QByteArrayList record;
    for (auto pair = pairs.begin(); pair != pairs.end(); ++pair) {
        record.append(pair.key().toUtf8() + '=' + pair.value());
    }
    return record;
}

QString withoutFinalPoint(const QString &type)
{
    return type.endsWith(u'.') ? type.chopped(1) : type;
}

bool isCollision(const QDBusError &error)
{
    return error.name() == QStringLiteral("org.freedesktop.Avahi.CollisionError");
}

} // namespace

NetService::NetService(NetServiceDescription description, QDBusConnection bus, SystemLog &systemLog)
    : m_description(std::move(description)), m_bus(std::move(bus)), m_systemLog(systemLog)
{
    assertMainThread("NetService");
}

NetService::~NetService()
{
    stop();
}

void NetService::publish()
{
    stop();
    m_name = m_description.name;
    if (!m_bus.isConnected()) {
        warn(QStringLiteral("there is no system bus"));
        return;
    }
    m_watcher =
        std::make_unique<QDBusServiceWatcher>(kAvahiName, m_bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(m_watcher.get(),
            &QDBusServiceWatcher::serviceOwnerChanged,
            this,
            [this](const QString &, const QString &, const QString &newOwner) { ownerChanged(newOwner); });
    m_server = std::make_unique<AvahiServerProxy>(m_bus);
    connect(m_server.get(), &AvahiServerProxy::StateChanged, this, &NetService::serverStateChanged);
    makeGroup();
}

void NetService::stop()
{
    dropGroup();
    m_server.reset();
    m_watcher.reset();
}

void NetService::makeGroup()
{
    dropGroup();
    const quint64 attempt = m_attempt;
    const QDBusPendingCall call = m_server->asyncCall(QStringLiteral("EntryGroupNew"));
    await(call, [this, attempt](const QDBusPendingCallWatcher &watcher) {
        const QDBusPendingReply<QDBusObjectPath> reply = watcher;
        if (reply.isError()) {
            warn(reply.error().message());
        } else if (attempt == m_attempt) {
            adoptGroup(reply.value().path());
        } else { // another attempt is under way by now
            AvahiEntryGroupProxy(reply.value().path(), m_bus).asyncCall(QStringLiteral("Free"));
        }
    });
}

void NetService::adoptGroup(const QString &path)
{
    m_group = std::make_unique<AvahiEntryGroupProxy>(path, m_bus);
    connect(m_group.get(), &AvahiEntryGroupProxy::StateChanged, this, &NetService::groupStateChanged);
    addService();
}

void NetService::dropGroup()
{
    ++m_attempt;
    if (m_group) {
        m_group->asyncCall(QStringLiteral("Free"));
        m_group.reset();
    }
}

void NetService::addService()
{
    const quint64 attempt = m_attempt;
    const QDBusPendingCall call = m_group->asyncCall(QStringLiteral("AddService"),
                                                     kAnyInterface,
                                                     kAnyProtocol,
                                                     0U,
                                                     m_name,
                                                     withoutFinalPoint(m_description.type),
                                                     QString(),
                                                     QString(),
                                                     QVariant::fromValue(m_description.port),
                                                     QVariant::fromValue(txtRecord(m_description.txt)));
    await(call, [this, attempt](const QDBusPendingCallWatcher &watcher) {
        if (attempt != m_attempt) {
            return;
        }
        if (!watcher.isError()) {
            commit();
        } else if (isCollision(watcher.error())) {
            takeAnotherName();
        } else {
            warn(watcher.error().message());
        }
    });
}

void NetService::commit()
{
    const quint64 attempt = m_attempt;
    await(m_group->asyncCall(QStringLiteral("Commit")),
          [this, attempt](const QDBusPendingCallWatcher &watcher) {
              if (attempt == m_attempt && watcher.isError()) {
                  warn(watcher.error().message());
              }
          });
}

void NetService::takeAnotherName()
{
    const QDBusPendingCall call = m_server->asyncCall(QStringLiteral("GetAlternativeServiceName"), m_name);
    dropGroup();
    const quint64 attempt = m_attempt;
    await(call, [this, attempt](const QDBusPendingCallWatcher &watcher) {
        const QDBusPendingReply<QString> reply = watcher;
        if (attempt != m_attempt) {
            return;
        }
        if (reply.isError()) {
            warn(reply.error().message());
        } else {
            m_name = reply.value();
            makeGroup();
        }
    });
}

void NetService::ownerChanged(const QString &newOwner)
{
    dropGroup();
    if (newOwner.isEmpty()) {
        warn(QStringLiteral("the daemon has gone"));
    } else {
        makeGroup();
    }
}

void NetService::serverStateChanged(int state)
{
    dropGroup(); // the machine's own name is changing, or has changed: records that stand on it are stale
    if (state == kServerRunning) {
        makeGroup();
    }
}

void NetService::groupStateChanged(int state, const QString &error)
{
    if (state == kGroupEstablished) {
        say(m_systemLog, SystemLogLevel::info, QStringLiteral("The listener is announced on the network."));
    } else if (state == kGroupCollision) {
        takeAnotherName();
    } else if (state == kGroupFailure) {
        warn(error);
    }
}

void NetService::await(const QDBusPendingCall &call, OnReply onReply)
{
    auto *watcher = new QDBusPendingCallWatcher(call, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [watcher, onReply = std::move(onReply)] {
        watcher->deleteLater();
        onReply(*watcher);
    });
}

void NetService::warn(const QString &reason)
{
    say(m_systemLog,
        SystemLogLevel::error,
        QStringLiteral("The listener is not announced on the network: %1").arg(reason));
}

} // namespace gateway::platform
