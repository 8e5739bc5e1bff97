#pragma once

#include <chrono>
#include <optional>

namespace gateway::app {

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

    /// The gateway is ending.
    void stopping();

    /// Half of what the service manager waits for a sign of life, or nothing when it doesn't.
    std::optional<std::chrono::milliseconds> watchdogInterval() const;
};

} // namespace gateway::app
