#pragma once

#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/testing/runs_main.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/notifications/notification_center.h"
#include "state/gateway_app_state.h"
#include "state/testing/fake_figure_index.h"

#include <optional>
#include <utility>
#include <vector>

namespace gateway::state::testing {

/// Live figures on a fake index and a manual clock, which begins at noon in UTC. Owner: a test. Thread: main.
class StateWorld : public platform::testing::RunsMain
{
public:
    explicit StateWorld(const QTimeZone &zone = QTimeZone::utc()) : timeZone(zone) {}

    /// Makes the figures anew, as a launch does.
    GatewayAppState &launch()
    {
        m_state.emplace(parts());
        m_state->setListening(isListening);
        m_state->syncListeningState();
        QObject::connect(&*m_state, &GatewayAppState::published, &*m_state, [this](GatewayField field) {
            if (field != GatewayField::receivedStorageUsage) {
                m_published.push_back(field);
            }
        });
        return *m_state;
    }

    GatewayAppStateParts parts()
    {
        return {index, notifications, main, pool, clock, [this] { return timeZone; }};
    }

    GatewayAppState &state() { return m_state ? *m_state : launch(); }
    const GatewayFigures &figures() { return state().figures(); }
    void destroy() { m_state.reset(); }

    /// The fields published since the last call, in their order, but for the storage usage, which comes when
    /// it likes.
    std::vector<GatewayField> published() { return std::exchange(m_published, {}); }

    platform::testing::ManualClock clock;
    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 1};
    platform::NotificationCenter notifications;
    FakeFigureIndex index;
    bool isListening = true;
    QTimeZone timeZone;

private:
    std::vector<GatewayField> m_published;
    std::optional<GatewayAppState> m_state;
};

} // namespace gateway::state::testing
