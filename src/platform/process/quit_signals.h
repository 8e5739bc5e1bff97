#pragma once

#include <QtCore/QObject>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace gateway::platform {

/// Turns SIGTERM and SIGINT into a call on the main thread. One at a time exists in the process.
///
/// Owner: main. Thread: main.
class QuitSignals final : public QObject
{
    Q_OBJECT

public:
    /// \param quit  called for each of the two signals, on main.
    explicit QuitSignals(std::function<void()> quit);
    ~QuitSignals() override;

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace gateway::platform
