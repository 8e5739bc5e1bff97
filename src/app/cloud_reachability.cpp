#include "app/cloud_reachability.h"

#include "platform/quorin_api/quorin_error.h"

namespace gateway::app {

CloudReachability::CloudReachability(platform::QrnStatusAPIProtocol &api,
                                     platform::MainExecutor &main,
                                     platform::WorkerPool &pool,
                                     platform::Clock &clock)
    : m_api(api), m_main(main), m_pool(pool), m_clock(clock)
{
}

void CloudReachability::refresh()
{
    const std::chrono::nanoseconds now = m_clock.monotonic();
    if (m_isAsking || (m_askedAt && now - *m_askedAt < kFresh)) {
        return;
    }
    m_isAsking = true;
    m_askedAt = now;
    m_pool.run([weak = weak_from_this(), &api = m_api, &main = m_main] {
        QString error;
        try {
            api.ping();
        } catch (const std::exception &failure) {
            error = platform::userFacingMessage(failure, QStringLiteral("The cloud doesn't answer."));
        }
        main.post([weak, error] {
            if (const auto self = weak.lock()) {
                self->answered(error);
            }
        });
    });
}

void CloudReachability::answered(const QString &error)
{
    m_isAsking = false;
    m_isOnline = error.isEmpty();
    m_lastError = error;
}

} // namespace gateway::app
