#pragma once

#include "account/cloud_watch.h"
#include "account/quorin_auth_view_model.h"
#include "core/settings.h"
#include "index/dicom_db.h"
#include "platform/concurrency/task_scope.h"
#include "platform/quorin_api/cloud_configuration.h"
#include "receive/listener_watch.h"
#include "receive/store_listener_service.h"
#include "receive/store_manual_import_service.h"
#include "state/gateway_app_state.h"
#include "terminal/commands/status_report.h"
#include "terminal/control/control_protocol.h"
#include "terminal/instance/account_commands.h"
#include "terminal/instance/settings_catalogue.h"
#include "terminal/instance/terms_commands.h"
#include "upload/failure_figures.h"
#include "upload/upload_requests.h"
#include "upload/upload_run_watcher.h"
#include "wizard/setup_applier.h"
#include "wizard/setup_checks.h"

#include <QCoro/QCoroTask>

#include <functional>
#include <memory>

namespace gateway::terminal {

/// What the running instance does for the commands of the command line.
///
/// Owner: Gateway, as a shared pointer. Thread: main.
class InstanceCommands : public std::enable_shared_from_this<InstanceCommands>
{
public:
    struct Collaborators
    {
        platform::UserDefaults &defaults;
        core::Settings &settings;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        account::QuorinAuthViewModel &auth;
        const platform::CloudConfiguration &cloud;
        const index::DicomDB &index;
        state::GatewayAppState &state;
        const upload::UploadRunWatcher &uploadRuns;
        const upload::StoreUploadCoordinator &uploadCoordinator;
        upload::UploadRequests &uploadRequests;
        wizard::SetupApplier &setup;
        receive::StoreListenerService &listenerService;
        const receive::ListenerWatch &listener;
        receive::StoreManualImportService &manualImports;
        account::CloudWatch &cloudWatch;
        TermsCommands &termsCommands;
        AccountCommands &accountCommands;
        std::function<state::UpkeepFigures()> upkeep;
        std::function<void()> reopen; ///< the program was started once more
    };

    using Answer = std::function<void(ControlReply)>;

    explicit InstanceCommands(Collaborators collaborators);

    /// Carries out a request; `answer` is called once, now or later.
    void handle(const ControlRequest &request, const Answer &answer);

private:
    ControlReply activate();
    ControlReply requestUpload();
    ControlReply changeSettings(const ControlRequest &request);
    void setUp(const ControlRequest &request, const Answer &answer);

    QCoro::Task<> status(Answer answer);
    QCoro::Task<> signIn(ControlRequest request, Answer answer);
    QCoro::Task<> signOut(Answer answer);
    QCoro::Task<> applySetup(wizard::SetupDraft draft, Answer answer);

    StatusReport report(const QList<upload::FailureFigure> &failures,
                        const index::WaitingRetries &retries) const;
    StatusReport::Cloud cloudReport() const;
    StatusReport::Terms termsReport() const;
    void restartListener();

    Collaborators m_with;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::terminal
