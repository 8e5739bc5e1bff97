#pragma once

#include "index/figure_index.h"
#include "index/testing/temporary_index.h"
#include "log/writing/gateway_logging.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/worker_pool.h"
#include "state/gateway_app_state.h"
#include "upload/gateway_auto_delete_cleanup_service.h"
#include "upload/store_upload_coordinator.h"
#include "upload/testing/fake_surroundings.h"

#include <QtCore/QTemporaryDir>
#include <QtCore/QTimeZone>

#include <atomic>
#include <memory>

namespace gateway::tests {

/// Counts the ends of runs and cleanups. Thread: any.
class CountingLog final : public log::GatewayLogging
{
public:
    void log(log::GatewayLogEvent event) override
    {
        finishedRuns += event.action == log::GatewayLogAction::uploadRunFinished ? 1 : 0;
        finishedCleanups += event.action == log::GatewayLogAction::localRetentionCleanupCompleted ? 1 : 0;
    }

    std::atomic<int> finishedRuns = 0;
    std::atomic<int> finishedCleanups = 0;
};

/// The parts of a gateway that keep, send and let go of images, with the live figures beside them, joined as
/// the program joins them, on a manual clock; images stay for a day after their upload.
///
/// Owner: a test. Thread: main.
class SimulatedGateway
{
public:
    explicit SimulatedGateway(const QTimeZone &zone);

    /// A modality sends one image: association, file, rows. \return the stored file's name.
    QString receive(const QVariantMap &elements);

    /// Has one run, and returns when it and the cleanups that it asked for have ended.
    void upload();

    /// Has one cleanup, as each hour does.
    void cleanUp();

    void stopListener();
    void startListener();

    /// Moves the clock on.
    void pass(std::chrono::seconds duration);

    /// Whether the storage figure comes to be what a walk over all files finds, at the latest after two
    /// measurements.
    bool storageIsRight();

    QDateTime now() const { return m_home.clock.now(); }
    state::GatewayAppState &state() { return *m_state; }
    const state::GatewayFigures &figures() const { return m_state->figures(); }

    upload::testing::FakeCloud cloud;
    upload::testing::FakeSession session;

private:
    /// The live figures as runs see them.
    class StateOfRuns final : public state::UploadState
    {
    public:
        explicit StateOfRuns(SimulatedGateway &gateway) : m_gateway(gateway) {}
        void refreshCounters() override { m_gateway.state().refreshCounters(); }
        void refreshTransferSeries() override { m_gateway.state().refreshTransferSeries(); }
        void recordUploadThroughput(qint64 bytes, std::chrono::duration<double> elapsed) override
        {
            m_gateway.state().recordUploadThroughput(bytes, elapsed);
        }
        void resetUploadSpeed() override { m_gateway.state().resetUploadSpeed(); }

    private:
        SimulatedGateway &m_gateway;
    };

    upload::GatewayAutoDeleteCleanupService::Collaborators cleanupCollaborators();
    void settle();

    const QTimeZone m_zone;
    index::testing::TemporaryIndex m_home;
    platform::testing::ManualClock m_stillClock; // so that no run begins but those that are asked for
    QTemporaryDir m_converted;
    CountingLog m_log;
    log::StoreLogEmitter m_emitter{m_log, m_home.clock};
    upload::testing::FakeConverter m_converter{m_converted.path()};
    upload::testing::RecordingTerms m_terms;
    platform::WorkerPool m_pool{QStringLiteral("simulated"), 2};
    int m_startedRuns = 0;
    std::atomic<int> m_startedCleanups = 0;
    std::atomic<int> m_expectedRefreshes = 0;
    int m_refreshes = 0;

    StateOfRuns m_stateOfRuns{*this};
    std::unique_ptr<state::GatewayAppState> m_state;

    /// Counts what is asked of the real service.
    class CountedCleanup final : public upload::GatewayAutoDeleteCleanupServicing
    {
    public:
        CountedCleanup(upload::GatewayAutoDeleteCleanupService &service, std::atomic<int> &started)
            : m_service(service), m_started(started)
        {
        }
        void runCleanup(const QString &trigger,
                        const std::optional<QString> &correlationId,
                        const std::optional<QDateTime> &overrideCutoff) override
        {
            ++m_started;
            m_service.runCleanup(trigger, correlationId, overrideCutoff);
        }

    private:
        upload::GatewayAutoDeleteCleanupService &m_service;
        std::atomic<int> &m_started;
    };

    upload::GatewayAutoDeleteCleanupService m_cleanup{cleanupCollaborators()};
    CountedCleanup m_countedCleanup{m_cleanup, m_startedCleanups};
    upload::NewSeries m_newSeries;
    upload::RunObserver m_runObserver;
    upload::UploadCollaborators m_uploadWith{m_home.index(),
                                             cloud,
                                             m_converter,
                                             session,
                                             m_stateOfRuns,
                                             m_terms,
                                             m_countedCleanup,
                                             m_runObserver,
                                             m_emitter,
                                             m_home.main,
                                             m_home.clock,
                                             m_newSeries};
    std::unique_ptr<upload::StoreUploadCoordinator> m_coordinator; // last: its run ends first
};

} // namespace gateway::tests
