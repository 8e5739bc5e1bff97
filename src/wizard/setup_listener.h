#pragma once

#include <QCoro/QCoroTask>

#include <chrono>

namespace gateway::wizard {

/// The listener that setup starts with new settings.
///
/// Owner: app. Thread: main.
class SetupListener
{
public:
    virtual ~SetupListener() = default;

    virtual bool isListenerRunning() const = 0;
    virtual void startListener() = 0;
    virtual void stopListener() = 0;

    /// Waits for `wait` and then tells whether a listener still stands.
    ///
    /// \param wait     how long to wait.
    /// \param seconds  the same, for the text of the error.
    /// \throws core::StoreStartupError  at once when the listener reports a failed start, or after the wait.
    virtual QCoro::Task<void> waitForListenerStart(std::chrono::nanoseconds wait, double seconds) = 0;
};

} // namespace gateway::wizard
