#pragma once

#include "account/cloud_watch.h"
#include "account/quorin_auth_view_model.h"
#include "cloud_client/cloud_configuration.h"
#include "core/settings.h"
#include "index/failed_uploads.h"
#include "index/figure_index.h"
#include "platform/concurrency/task_scope.h"
#include "receive/listener_watch.h"
#include "state/gateway_app_state.h"
#include "state/upkeep_figures.h"
#include "terminal/commands/status_report.h"
#include "terminal/control/control_protocol.h"
#include "upload/failure_figures.h"
#include "upload/store_upload_coordinator.h"
#include "upload/upload_run_watcher.h"

#include <QCoro/QCoroTask>

#include <functional>
#include <memory>
#include <optional>

namespace gateway::terminal {

/// What the running instance does for the command `status`: the one place that knows where each figure of
/// the report lives.
///
/// Owner: app, as a shared pointer. Thread: main.
class StatusCommands : public std::enable_shared_from_this<StatusCommands>
{
public:
    /// Who knows of what comes in.
    struct Receiving
    {
        const receive::ListenerWatch &listener;
        state::GatewayAppState &state;
    };

    /// Who knows of what goes out.
    struct Sending
    {
        const index::FigureIndex &index;
        const index::FailedUploads &failures;
        const upload::UploadRunWatcher &runs;
        const upload::StoreUploadCoordinator &coordinator;
    };

    /// Who knows of the cloud and the account there.
    struct Cloud
    {
        const cloud_client::CloudConfiguration &configuration;
        account::CloudWatch &watch;
        const account::QuorinAuthViewModel &auth;
    };

    /// What the report is made of; all of it outlives this.
    struct Collaborators
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        const core::Settings &settings;
        Receiving receiving;
        Sending sending;
        Cloud cloud;
        std::function<state::UpkeepFigures()> upkeep;
    };

    using Answer = std::function<void(ControlReply)>;

    explicit StatusCommands(Collaborators collaborators);

    /// Carries the request out if it is this one; `answer` is called once then, after a look at the cloud and
    /// once the file store has been measured.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    /// What is read of the index, away from the main thread.
    struct FromIndex
    {
        QList<upload::FailureFigure> failures;
        upload::WaitingUploads waiting; // but for the pause
        std::optional<index::InstanceCounts> instances;
    };

    QCoro::Task<> status(Answer answer);
    StatusReport report(const FromIndex &read) const;
    StatusReport::Cloud cloudReport() const;
    StatusReport::Terms termsReport() const;
    StatusReport::Session sessionReport() const;

    const Collaborators m_collaborators;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::terminal
