#include "monitor/service_manager.h"

#include <cstdint>

#include <systemd/sd-daemon.h>

namespace gateway::monitor {

void ServiceManager::ready()
{
    ::sd_notify(0, "READY=1");
}

void ServiceManager::alive()
{
    ::sd_notify(0, "WATCHDOG=1");
}

void ServiceManager::status(const QString &line)
{
    if (line == m_line) {
        return;
    }
    m_line = line;
    // A line break would begin another assignment.
    const QString oneLine = QString(line).replace(u'\n', u' ');
    ::sd_notifyf(0, "STATUS=%s", oneLine.toUtf8().constData());
}

bool ServiceManager::isPresent() const
{
    return qEnvironmentVariableIsSet("NOTIFY_SOCKET");
}

void ServiceManager::stopping()
{
    ::sd_notify(0, "STOPPING=1");
}

std::optional<std::chrono::milliseconds> ServiceManager::watchdogInterval() const
{
    std::uint64_t microseconds = 0;
    if (::sd_watchdog_enabled(0, &microseconds) <= 0) {
        return std::nullopt;
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::microseconds(microseconds) / 2);
}

} // namespace gateway::monitor
