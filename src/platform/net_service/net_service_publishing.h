#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtDBus/QDBusConnection>

#include <memory>

namespace gateway::platform {

class SystemLog;

/// What is announced of one service.
struct NetServiceDescription
{
    QString name;                    ///< for people; made different where another service has it
    QString type;                    ///< such as "_dicom._tcp."
    quint16 port = 0;                ///< TCP
    QMap<QString, QByteArray> txt{}; ///< the TXT record's pairs
};

/// One service while it is announced; dying withdraws it. Thread: main.
class NetServicePublication
{
public:
    virtual ~NetServicePublication() = default;
};

/// Announces services on the local network.
///
/// Thread: main. Never blocks and never fails for its caller: an announcement that can't be made is a line in
/// the system log.
class NetServicePublishing
{
public:
    virtual ~NetServicePublishing() = default;

    /// Announces a service until the publication dies.
    virtual std::unique_ptr<NetServicePublication> publish(const NetServiceDescription &description) = 0;
};

/// Announces through the Avahi daemon. Owner: app. The system log outlives it and its publications.
class AvahiPublishing final : public NetServicePublishing
{
public:
    explicit AvahiPublishing(SystemLog &systemLog, QDBusConnection bus = QDBusConnection::systemBus());

    std::unique_ptr<NetServicePublication> publish(const NetServiceDescription &description) override;

private:
    SystemLog &m_systemLog;
    QDBusConnection m_bus;
};

} // namespace gateway::platform
