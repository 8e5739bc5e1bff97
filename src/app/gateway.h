#pragma once

#include "account/cloud_watch.h"
#include "account/quorin_auth_view_model.h"
#include "app/app_delegate.h"
#include "app/launch_ports.h"
#include "app/live_state.h"
#include "app/store.h"
#include "app/upkeep_elsewhere.h"
#include "core/home_layout.h"
#include "core/settings.h"
#include "index/db_service.h"
#include "index/dicom_db.h"
#include "log/gateway_logger.h"
#include "log/store_log_emitter.h"
#include "monitor/event_counts.h"
#include "monitor/health_service.h"
#include "platform/archive/archive_unpacker.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "platform/dicom/dicom_converter_wrapper.h"
#include "platform/dicom/dicom_file.h"
#include "platform/dicom/worker_process_pool.h"
#include "platform/keychain/token_store.h"
#include "platform/net_service/net_service_publishing.h"
#include "platform/notifications/notification_center.h"
#include "platform/quorin_api/qrn_authentication_api.h"
#include "platform/quorin_api/qrn_bug_report_api.h"
#include "platform/quorin_api/qrn_quorin_cloud_terms_api.h"
#include "platform/quorin_api/qrn_status_api.h"
#include "platform/quorin_api/qrn_stow_api.h"
#include "platform/quorin_api/qrn_user_api.h"
#include "platform/quorin_api/quorin_api_client.h"
#include "platform/system_log/journal_system_log.h"
#include "receive/inbox_watch.h"
#include "receive/listener_watch.h"
#include "state/gateway_app_state.h"
#include "state/state_index.h"
#include "terminal/control/control_protocol.h"
#include "terminal/instance/account_commands.h"
#include "terminal/instance/doctor_commands.h"
#include "terminal/instance/instance_commands.h"
#include "terminal/instance/terms_commands.h"
#include "upload/cloud_terms_follow_up.h"
#include "upload/dicom_db_upload_index.h"
#include "upload/gateway_auto_delete_cleanup_service.h"
#include "upload/retention_clock.h"
#include "upload/upload_collaborators.h"
#include "upload/upload_opener.h"
#include "upload/upload_run_watcher.h"
#include "wizard/setup_applier.h"

#include <functional>
#include <memory>
#include <optional>

namespace gateway::app {

/// What the screens of a face are made over; all of it outlives them.
struct ScreenModels
{
    platform::UserDefaults &defaults;
    core::Settings &settings;
    platform::NotificationCenter &notifications;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;        ///< for disks
    platform::WorkerPool &networkPool; ///< for calls that may take as long as the network lets them
    platform::Clock &clock;
    index::DicomDB &index;
    platform::QrnBugReportAPIProtocol &bugReports;
    platform::QrnQuorinCloudTermsAPIProtocol &terms;
    state::GatewayAppState &appState;
    account::QuorinAuthViewModel &auth;
    account::CloudWatch &cloudWatch;
    wizard::SetupApplier &setup;
    Store &store;
    AppDelegate &delegate;
    const core::HomeLayout &layout;
};

/// The shared objects of one running gateway, each made once and joined to the others here and nowhere else.
///
/// Owner: main. Thread: main; made after the application object. Nothing is torn down in life: the program
/// ends with the process, and what was in flight is found again at the next start.
class Gateway
{
public:
    struct Options
    {
        core::HomeLayout layout;
        QString bindAddress;
        std::optional<QString> cloudUrl;
        std::optional<QString> cloudKind;
        std::optional<platform::SocketAddress> metricsAddress;
        std::function<void(const QString &)> writeLine; ///< one plain line for operators
    };

    /// Opens the defaults and the index.
    ///
    /// \param face  outlives this; nothing is shown before `launch`.
    /// \throws platform::DefaultsError, index::IndexOpenError, index::StoreInUseError  each with one plain
    /// sentence.
    Gateway(Options options, GatewayFace &face);
    ~Gateway();

    Gateway(const Gateway &) = delete;
    Gateway &operator=(const Gateway &) = delete;

    /// Comes up in the given order; the listener follows from the event loop.
    void launch();

    /// Goes down as an application does.
    void terminate();

    /// What a face with screens works with.
    ScreenModels screenModels();

    /// The figures for operators, of this moment.
    monitor::HealthFigures healthFigures() { return m_health->figures(); }

    /// Carries out a request of the command line; `answer` is called once, now or later.
    void handle(const terminal::ControlRequest &request, const terminal::InstanceCommands::Answer &answer);

private:
    class Session;

    void recordStoredFiles(const std::stop_token &stop);
    void say(const QString &sentence);

    platform::CloudConfiguration cloudConfiguration();
    account::CloudWatch::Collaborators watchCollaborators();
    terminal::TermsCommands::Collaborators termsCollaborators();
    terminal::AccountCommands::Collaborators accountCollaborators();
    upload::UploadOpener::Collaborators openerCollaborators();
    std::unique_ptr<platform::NetServicePublishing> makeNetServices();
    std::shared_ptr<Store> makeStore();
    std::shared_ptr<receive::StoreListenerService> makeListener(std::function<void(QString)> onImported);
    std::shared_ptr<receive::StoreManualImportService>
    makeManualImport(std::function<void(QString)> onImported);
    upload::StoreUpload::ExecutionConfig uploadConfig() const;
    upload::GatewayAutoDeleteCleanupService::Collaborators cleanupCollaborators();
    state::GatewayAppStateParts stateParts();
    wizard::SetupApplier::Collaborators setupCollaborators();
    AppDelegate::Collaborators delegateCollaborators();
    terminal::InstanceCommands::Collaborators commandCollaborators();
    std::shared_ptr<terminal::DoctorCommands> makeDoctor();
    QString missingSession() const;
    void tellMissingSession();
    std::unique_ptr<monitor::HealthService> makeHealthService();
    state::UpkeepFigures upkeepFigures() const;

    const Options m_options;

    platform::SystemClock m_clock;
    platform::MainExecutor m_main;
    platform::NotificationCenter m_notifications;
    platform::UserDefaults m_defaults;
    core::Settings m_settings;

    platform::JournalSystemLog m_systemLog;
    log::GatewayLogger m_logger;
    monitor::EventCounts m_eventCounts;
    upload::UploadRunWatcher m_uploadWatcher;
    log::StoreLogEmitter m_emitter;

    platform::WorkerProcessPool m_parserProcesses;
    platform::WorkerProcessPool m_converterProcesses;
    platform::DicomFile m_parser;
    platform::DicomConverterWrapper m_converter;
    index::DicomDB m_index;
    index::DBService m_inboxImports;
    index::DBService m_manualImports;
    platform::ArchiveUnpacker m_unpacker;

    std::unique_ptr<platform::TokenStore> m_tokens;
    platform::QuorinApiClient m_cloud;
    platform::QrnAuthenticationAPI m_authenticationApi;
    platform::QrnUserAPI m_userApi;
    platform::QrnStatusAPI m_statusApi;
    platform::QrnStowAPI m_stowApi;
    platform::QrnQuorinCloudTermsAPI m_termsApi;
    platform::QrnBugReportAPI m_bugReportApi;

    GatewayFace &m_face;
    LiveState m_liveState;
    PackagedUpkeep m_upkeep;
    upload::RetentionClock m_retentionClock;
    upload::GatewayAutoDeleteCleanupService m_cleanup;
    upload::CloudTermsFollowUp m_terms;
    std::unique_ptr<platform::NetServicePublishing> m_netServices;
    std::unique_ptr<Session> m_session;
    upload::DicomDBUploadIndex m_uploadIndex;
    upload::NewSeries m_newSeries;
    upload::UploadCollaborators m_uploadCollaborators;

    platform::WorkerPool m_cloudPool;  // calls that wait for the network
    platform::WorkerPool m_globalPool; // everything else
    account::QuorinAuthViewModel m_auth;
    account::CloudWatch m_cloudWatch;
    terminal::TermsCommands m_termsCommands;
    terminal::AccountCommands m_accountCommands;
    std::shared_ptr<Store> m_store;
    upload::UploadOpener m_uploadOpener;
    state::DicomDBStateIndex m_stateIndex;
    state::GatewayAppState m_state; // behind the store, whose listener it asks for
    receive::ListenerWatch m_listenerWatch;
    wizard::SetupApplier m_setup;
    std::shared_ptr<AppDelegate> m_delegate;
    std::shared_ptr<terminal::InstanceCommands> m_commands;
    std::shared_ptr<terminal::DoctorCommands> m_doctor;
    std::unique_ptr<monitor::HealthService> m_health;
    QString m_toldSession; // what operators were told of it last
    platform::NotificationCenter::Token m_sessionObserver;
    std::optional<receive::InboxWatch> m_inboxWatch; // from the launch on
    platform::Task m_recording;                      // last: it uses the index and the store
};

} // namespace gateway::app
