#pragma once

#include "monitor/health_collector.h"
#include "monitor/health_server.h"
#include "platform/concurrency/main_executor.h"
#include "platform/sockets/listening_socket.h"

#include <QtCore/QString>
#include <QtCore/QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace gateway::monitor {

/// Lets operators see how the gateway does: keeps the figures sampled, and serves them.
///
/// Owner: Gateway. Thread: main.
class HealthService
{
public:
    struct Places
    {
        QString socket;                                 ///< path of the Unix socket
        std::optional<platform::SocketAddress> address; ///< for HTTP over the network, where one is wanted
    };

    /// Serves from here on. A place that can't be listened on is told with one plain line and left out:
    /// images come before figures.
    HealthService(HealthCollector::Collaborators collaborators,
                  platform::MainExecutor &main,
                  const Places &places,
                  const std::function<void(QString)> &writeLine);
    ~HealthService();

    HealthService(const HealthService &) = delete;
    HealthService &operator=(const HealthService &) = delete;

    /// The figures of this moment.
    HealthFigures figures() { return m_collector->collect(); }

    /// Ends serving; the sockets are gone when this returns.
    void close();

private:
    static std::vector<platform::ListeningSocket> open(const Places &places,
                                                       const std::function<void(QString)> &writeLine);

    std::shared_ptr<HealthCollector> m_collector;
    std::unique_ptr<HealthServer> m_server;
    QTimer m_sampling;
};

} // namespace gateway::monitor
