#pragma once

#include <QtCore/QString>

#include <chrono>
#include <optional>

namespace gateway::monitor {

/// Tells the service manager how the gateway does, where one started it (sd_notify); without one every call
/// does nothing.
///
/// Thread: main.
class ServiceManager
{
public:
    /// The gateway is up: commands are answered, and the listener has been asked to start.
    void ready();

    /// The gateway is alive; to be called at least every `watchdogInterval()`.
    void alive();

    /// How the gateway does, one short line; told again only when it is another one.
    void status(const QString &line);

    /// Whether there is anybody to tell.
    bool isPresent() const;

    /// The gateway is ending.
    void stopping();

    /// Half of what the service manager waits for a sign of life, or nothing when it doesn't.
    std::optional<std::chrono::milliseconds> watchdogInterval() const;

private:
    QString m_line; // told last
};

} // namespace gateway::monitor
