#include "monitor/health_service.h"

#include "platform/concurrency/main_thread.h"
#include <utility>

namespace gateway::monitor {

HealthService::HealthService(HealthCollector::Collaborators collaborators,
                             platform::MainExecutor &main,
                             const Places &places,
                             const std::function<void(QString)> &writeLine)
{
    platform::assertMainThread("HealthService");
    const platform::Clock &clock = collaborators.clock;
    m_collector = std::make_shared<HealthCollector>(std::move(collaborators));
    m_collector->sample();
    QObject::connect(&m_sampling, &QTimer::timeout, &m_sampling, [this] { m_collector->sample(); });
    m_sampling.start(HealthCollector::kSampling);

    std::vector<platform::ListeningSocket> sockets = open(places, writeLine);
    if (sockets.empty()) {
        return;
    }
    const auto collectAndPublish = [this] {
        m_collector->refresh();
        if (m_server) {
            m_server->publish(m_collector->collect());
        }
    };
    m_server = std::make_unique<HealthServer>(
        std::move(sockets),
        HealthServer::Collaborators{clock,
                                    [&main,
                                     weak = std::weak_ptr<const void>(m_collector),
                                     collectAndPublish] { main.post(weak, collectAndPublish); },
                                    QStringLiteral(QUORIN_VERSION)});
}

HealthService::~HealthService()
{
    close();
}

void HealthService::close()
{
    m_server.reset();
}

std::vector<platform::ListeningSocket> HealthService::open(const Places &places,
                                                           const std::function<void(QString)> &writeLine)
{
    std::vector<platform::ListeningSocket> sockets;
    try {
        sockets.push_back(platform::ListeningSocket::onPath(places.socket));
    } catch (const platform::SocketError &error) {
        writeLine(error.message);
    }
    if (!places.address) {
        return sockets;
    }
    try {
        sockets.push_back(platform::ListeningSocket::onAddress(*places.address));
        const QString host =
            places.address->host.contains(u':') ? u'[' + places.address->host + u']' : places.address->host;
        writeLine(QStringLiteral("Metrics are served at http://%1:%2/metrics.")
                      .arg(host)
                      .arg(sockets.back().port()));
    } catch (const platform::SocketError &error) {
        writeLine(QStringLiteral("No metrics are served over the network. ") + error.message);
    }
    return sockets;
}

} // namespace gateway::monitor
