#pragma once

#include "account/quorin_auth_view_model.h"
#include "app/account_desk.h"
#include "app/cloud_watch.h"
#include "app/control_protocol.h"
#include "app/failure_figures.h"
#include "app/settings_catalogue.h"
#include "app/setup_desk.h"
#include "app/status_report.h"
#include "app/store.h"
#include "app/terms_desk.h"
#include "app/upload_run_watcher.h"
#include "core/settings.h"
#include "index/dicom_db.h"
#include "platform/concurrency/task_scope.h"
#include "platform/quorin_api/cloud_configuration.h"
#include "state/gateway_app_state.h"
#include "wizard/setup_checks.h"

#include <QCoro/QCoroTask>

#include <functional>
#include <memory>

namespace gateway::app {

class AppDelegate;

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
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
        account::QuorinAuthViewModel &auth;
        const platform::CloudConfiguration &cloud;
        const index::DicomDB &index;
        state::GatewayAppState &state;
        const UploadRunWatcher &uploads;
        SetupDesk &setupDesk;
        AppDelegate &delegate;
        Store &store;
        CloudWatch &cloudWatch;
        TermsDesk &termsDesk;
        AccountDesk &accountDesk;
        QString bindAddress;
        std::function<StatusReport::Upkeep()> upkeep;
    };

    using Answer = std::function<void(ControlReply)>;

    explicit InstanceCommands(Collaborators collaborators);

    /// Carries out a request; `answer` is called once, now or later.
    void handle(const ControlRequest &request, const Answer &answer);

    /// How the listener stands, with the reason of a failed start.
    StatusReport::Listener listenerReport() const;

private:
    ControlReply activate();
    ControlReply requestUpload();
    ControlReply changeSettings(const ControlRequest &request);
    void setUp(const ControlRequest &request, const Answer &answer);

    QCoro::Task<> status(Answer answer);
    QCoro::Task<> signIn(ControlRequest request, Answer answer);
    QCoro::Task<> signOut(Answer answer);
    QCoro::Task<> applySetup(wizard::SetupDraft draft, Answer answer);

    StatusReport report(const QList<FailureFigure> &failures, const index::WaitingRetries &retries) const;
    StatusReport::Cloud cloudReport() const;
    StatusReport::Terms termsReport() const;
    void restartListener();

    Collaborators m_with;
    platform::NotificationCenter::Token m_errorObserver;
    platform::NotificationCenter::Token m_stateObserver;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::app
