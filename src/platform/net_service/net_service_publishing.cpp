#include "platform/net_service/net_service_publishing.h"

#include "platform/net_service/net_service.h"

#include <QtCore/QByteArrayList>
#include <QtDBus/QDBusMetaType>

#include <utility>

namespace gateway::platform {

AvahiPublishing::AvahiPublishing(SystemLog &systemLog, QDBusConnection bus)
    : m_systemLog(systemLog), m_bus(std::move(bus))
{
    qDBusRegisterMetaType<QByteArrayList>(); // the form of a TXT record
}

std::unique_ptr<NetServicePublication> AvahiPublishing::publish(const NetServiceDescription &description)
{
    auto service = std::make_unique<NetService>(description, m_bus, m_systemLog);
    service->publish();
    return service;
}

} // namespace gateway::platform
