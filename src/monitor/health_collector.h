#pragma once

#include "account/cloud_watch.h"
#include "account/quorin_auth_view_model.h"
#include "core/settings.h"
#include "index/figure_index.h"
#include "monitor/event_counts.h"
#include "monitor/failed_files.h"
#include "monitor/free_space_watch.h"
#include "monitor/health_figures.h"
#include "monitor/recent_rate.h"
#include "platform/concurrency/clock.h"
#include "receive/listener_watch.h"
#include "state/gateway_app_state.h"
#include "state/upkeep_figures.h"
#include "upload/store_upload_coordinator.h"
#include "upload/upload_run_watcher.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace gateway::monitor {

/// Gathers what operators watch from those who know it: the one place that knows where each figure lives.
///
/// Owner: Gateway. Thread: main. Nothing here waits for a disk or for the network but the index's counts.
class HealthCollector
{
public:
    /// Who knows of what comes in.
    struct Receiving
    {
        const receive::ListenerWatch &listener;
        const state::GatewayAppState &state;
    };

    /// Who knows of what goes out.
    struct Sending
    {
        const index::FigureIndex &index;
        const upload::UploadRunWatcher &runs;
        const upload::StoreUploadCoordinator &coordinator;
        std::shared_ptr<FailedFiles> failedFiles;
    };

    /// Who knows of the cloud and the session there.
    struct Cloud
    {
        const account::CloudWatch &watch;
        const account::QuorinAuthViewModel &auth;
    };

    /// What the figures are made of; all of it outlives the collector.
    struct Collaborators
    {
        const core::Settings &settings;
        const EventCounts &events;
        const platform::Clock &clock;
        Receiving receiving;
        Sending sending;
        Cloud cloud;
        std::shared_ptr<FreeSpaceWatch> freeSpace;
        std::function<state::UpkeepFigures()> upkeep;
    };

    /// How often the caller takes samples.
    static constexpr std::chrono::seconds kSampling{10};

    explicit HealthCollector(Collaborators collaborators);

    /// Takes the samples that rates and forecasts are made of.
    void sample();

    /// The figures of this moment.
    HealthFigures collect();

    /// Asks for what others measure, so that later figures have it; returns at once.
    void refresh();

private:
    HealthFigures::Listener listener() const;
    HealthFigures::Index index() const;
    HealthFigures::Storage storage() const;
    HealthFigures::Cloud cloud() const;
    std::optional<std::chrono::milliseconds> until(const std::optional<QDateTime> &moment) const;

    const Collaborators m_collaborators;
    RecentRate m_receiving;
};

} // namespace gateway::monitor
