#include "app/gateway.h"

#include "app/no_announcements.h"
#include "core/device_id.h"
#include "core/notification_names.h"
#include "core/retention_policy.h"
#include "log/gateway_log_file_sink.h"
#include "platform/dicom/dcmtk_store_scp.h"
#include "platform/dicom/helper_process.h"
#include "platform/files/file_system.h"
#include "platform/files/files.h"
#include "platform/keychain/token_store.h"
#include "receive/folder_bookmark.h"
#include "upload/retention_cutoff.h"
#include "upload/upload_run.h"

#include <QtCore/QProcessEnvironment>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTimeZone>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace gateway::app {

namespace {

constexpr std::chrono::seconds kSessionPoll{60};

/// Imports mostly wait for the disk, and share its syncs: more of them at once than there are cores.
constexpr int kGlobalPoolWidth = 12;
constexpr int kCloudPoolWidth = 4;

int cores()
{
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

std::optional<QString> storedText(const platform::UserDefaults &defaults, const char *key)
{
    const std::optional<QVariant> value = defaults.object(QString::fromLatin1(key));
    return value ? std::optional(value->toString()) : std::nullopt;
}

monitor::FailedFiles::Counts failedFilesIn(const index::DicomDB &index)
{
    monitor::FailedFiles::Counts counts;
    for (const index::UploadFailureCount &known : index.uploadFailureCounts()) {
        counts.byClass[known.failureClass] += known.files;
    }
    counts.waiting = index.waitingRetries();
    return counts;
}

} // namespace

/// Whether the cloud client holds a session.
class Gateway::Session final : public upload::UploadSession
{
public:
    explicit Session(platform::QuorinApiClient &cloud) : m_cloud(cloud) {}

    bool hasToken() override { return m_cloud.networkSettings().token().has_value(); }

private:
    platform::QuorinApiClient &m_cloud;
};

Gateway::Gateway(Options options, GatewayFace &face)
    : m_options(std::move(options)), m_defaults(m_options.layout.defaultsFile), m_settings(m_defaults),
      m_logger(m_systemLog, std::make_unique<log::GatewayLogFileSink>(m_options.layout.logFolder, m_clock)),
      m_eventCounts(m_logger),
      m_uploadWatcher(m_eventCounts, [this] { m_main.post([this] { m_cloudWatch.cloudAnswered(); }); }),
      m_emitter(m_uploadWatcher, m_clock), m_parserProcesses(cores(), platform::helperProgramPath()),
      m_converterProcesses(cores(), platform::helperProgramPath()), m_parser(m_parserProcesses, m_clock),
      m_converter(m_converterProcesses, m_options.layout.temporaryFolder + QStringLiteral("/converted")),
      m_index({m_options.layout.indexFile, m_options.layout.fileStore},
              {m_defaults, m_parser, m_notifications, m_main, m_clock, platform::systemFiles()}),
      m_inboxImports(m_index, index::ImportSource::ownInbox),
      m_manualImports(m_index, index::ImportSource::foreign), m_unpacker(platform::helperProgramPath()),
      m_tokens(platform::makeTokenStore(m_options.layout.tokenFolder())),
      m_cloud(cloudConfiguration(), *m_tokens), m_authenticationApi(m_cloud), m_userApi(m_cloud),
      m_statusApi(m_cloud), m_stowApi(m_cloud), m_termsApi(m_cloud), m_bugReportApi(m_cloud), m_face(face),
      m_liveState(m_state), m_upkeep(m_face), m_retentionClock(m_clock, m_defaults),
      m_cleanup(cleanupCollaborators()), m_terms({m_termsApi, m_emitter, m_notifications, m_main, m_clock}),
      m_netServices(makeNetServices()), m_session(std::make_unique<Session>(m_cloud)), m_uploadIndex(m_index),
      m_uploadCollaborators{m_uploadIndex,
                            m_stowApi,
                            m_converter,
                            *m_session,
                            m_liveState,
                            m_terms,
                            m_cleanup,
                            m_emitter,
                            m_main,
                            m_clock,
                            m_newSeries},
      m_cloudPool(QStringLiteral("cloud"), kCloudPoolWidth),
      m_globalPool(QStringLiteral("global"), kGlobalPoolWidth), m_auth({m_authenticationApi,
                                                                        m_userApi,
                                                                        m_cloud.networkSettings(),
                                                                        m_defaults,
                                                                        m_notifications,
                                                                        m_main,
                                                                        m_cloudPool,
                                                                        m_clock},
                                                                       QStringLiteral(QUORIN_VERSION)),
      m_cloudWatch(watchCollaborators()), m_termsCommands(termsCollaborators()),
      m_accountCommands(accountCollaborators()), m_store(makeStore()), m_uploadOpener(openerCollaborators()),
      m_stateIndex(m_index), m_state(stateParts()),
      m_listenerWatch(
          {m_defaults, m_notifications, m_store->listenerService(), m_state, m_options.bindAddress}),
      m_setup(setupCollaborators()), m_delegate(std::make_shared<AppDelegate>(delegateCollaborators())),
      m_commands(std::make_shared<terminal::InstanceCommands>(commandCollaborators())),
      m_doctor(makeDoctor()), m_health(makeHealthService())
{
    m_sessionObserver = m_notifications.observe(core::kAuthStateChanged,
                                                [this](const QVariantMap &) { tellMissingSession(); });
    m_converter.sweepLeftovers();
}

Gateway::~Gateway() = default;

platform::CloudConfiguration Gateway::cloudConfiguration()
{
    return platform::resolveCloudConfiguration({m_options.cloudUrl,
                                                m_options.cloudKind,
                                                QProcessEnvironment::systemEnvironment(),
                                                storedText(m_defaults, platform::kCloudBaseUrlKey),
                                                storedText(m_defaults, platform::kCloudKindKey)},
                                               core::deviceId(m_defaults));
}

upload::StoreUpload::ExecutionConfig Gateway::uploadConfig() const
{
    return upload::StoreUpload::executionConfig({m_settings.wadoLimit.get(),
                                                 m_settings.quorinCloudBatchUploadCount.get(),
                                                 m_settings.quorinCloudBatchEnabled.get(),
                                                 m_settings.quorinCloudCompressToLS.get(),
                                                 core::retrieveMode(m_defaults)});
}

std::unique_ptr<platform::NetServicePublishing> Gateway::makeNetServices()
{
    if (m_options.bindAddress.startsWith(QStringLiteral("127."))) {
        return std::make_unique<NoAnnouncements>();
    }
    return std::make_unique<platform::AvahiPublishing>(m_systemLog);
}

std::shared_ptr<Store> Gateway::makeStore()
{
    auto coordinator =
        std::make_shared<upload::StoreUploadCoordinator>(upload::StoreUploadCoordinator::Collaborators{
            m_emitter,
            m_clock,
            m_uploadIndex,
            [this] { return uploadConfig(); },
            [this](const QString &runId,
                   const upload::StoreUpload::ExecutionConfig &config,
                   const std::stop_token &stop) {
                return upload::UploadRun(m_uploadCollaborators, runId, config, core::deviceId(m_defaults))
                    .run(stop);
            },
            [] { return QRandomGenerator::global()->generateDouble(); }});
    return std::make_shared<Store>(
        Store::Collaborators{m_settings, m_notifications, m_main, m_clock},
        std::move(coordinator),
        [this](std::function<void(QString)> onImported) { return makeListener(std::move(onImported)); },
        [this](std::function<void(QString)> onImported) { return makeManualImport(std::move(onImported)); });
}

std::shared_ptr<receive::StoreManualImportService>
Gateway::makeManualImport(std::function<void(QString)> onImported)
{
    const core::HomeLayout &layout = m_options.layout;
    return std::make_shared<receive::StoreManualImportService>(
        receive::StoreManualImportService::Collaborators{
            m_manualImports,
            m_emitter,
            m_main,
            m_clock,
            m_unpacker,
            [folder = layout.fileStore]() -> std::optional<qint64> {
                const auto figures = platform::volumeFigures(folder);
                return figures ? std::optional(figures->availableBytes) : std::nullopt;
            },
            [this] {
                m_liveState.refreshCounters();
                m_liveState.refreshTransferSeries();
            },
            std::move(onImported),
            m_face.importPanel()},
        receive::StoreManualImportService::Places{
            layout.temporaryFolder, {layout.fileStore, layout.temporaryFolder, layout.incomingFolder}});
}

std::shared_ptr<receive::StoreListenerService> Gateway::makeListener(std::function<void(QString)> onImported)
{
    const QString defaultInbox = m_options.layout.incomingFolder;
    return std::make_shared<receive::StoreListenerService>(
        receive::StoreListenerService::Collaborators{
            m_defaults,
            m_settings,
            m_notifications,
            m_main,
            m_globalPool,
            m_clock,
            m_inboxImports,
            m_emitter,
            m_liveState,
            *m_netServices,
            [defaultInbox] {
                return std::make_shared<platform::DCMTKStoreSCP>(
                    platform::StoreSCPEnvironment{platform::helperProgramPath(), defaultInbox});
            },
            std::move(onImported)},
        receive::StoreListenerService::Places{defaultInbox, m_options.bindAddress});
}

upload::GatewayAutoDeleteCleanupService::Collaborators Gateway::cleanupCollaborators()
{
    return {m_emitter,
            m_main,
            [this](const QDateTime &now) {
                return upload::retentionCutoff(
                    core::effectiveRetentionPolicy(m_settings), now, QTimeZone::systemTimeZone());
            },
            [this](const QDateTime &cutoff) { return m_index.pruneSyncedImages(cutoff); },
            [this] {
                m_state.refreshCounters();
                m_state.refreshTransferSeries();
            },
            [this] { return m_clock.now(); },
            [this] { return m_retentionClock.isBelieved(); }};
}

state::GatewayAppStateParts Gateway::stateParts()
{
    return {m_stateIndex,
            [this] { return m_store->listenerService().storeListener() != nullptr; },
            m_notifications,
            m_main,
            m_globalPool,
            m_clock,
            [] { return QTimeZone::systemTimeZone(); }};
}

wizard::SetupApplier::Collaborators Gateway::setupCollaborators()
{
    return {m_defaults, m_settings, m_main, m_globalPool, m_clock, *m_store, m_options.bindAddress};
}

AppDelegate::Collaborators Gateway::delegateCollaborators()
{
    return {m_settings,
            m_notifications,
            m_main,
            m_clock,
            m_face,
            m_upkeep,
            m_cleanup,
            [this]() -> Store & { return *m_store; },
            [this] { return m_setup.isApplying(); }};
}

terminal::InstanceCommands::Collaborators Gateway::commandCollaborators()
{
    return {m_defaults,
            m_settings,
            m_main,
            m_cloudPool,
            m_auth,
            m_cloud.configuration(),
            m_index,
            m_state,
            m_uploadWatcher,
            m_store->uploadCoordinator(),
            *m_store,
            m_setup,
            m_store->listenerService(),
            m_listenerWatch,
            m_store->manualImportService(),
            m_cloudWatch,
            m_termsCommands,
            m_accountCommands,
            [this] { return upkeepFigures(); },
            [this] { m_delegate->reopen(); }};
}

state::UpkeepFigures Gateway::upkeepFigures() const
{
    return {m_state.figures().setAsideFilesCount, m_cleanup.isHeldBack()};
}

std::unique_ptr<monitor::HealthService> Gateway::makeHealthService()
{
    const auto folders = [this] {
        return QMap<QString, QString>{
            {QStringLiteral("store"), m_options.layout.fileStore},
            {QStringLiteral("inbox"),
             m_settings.listenerDestinationFolder.get().value_or(m_options.layout.incomingFolder)}};
    };
    return std::make_unique<monitor::HealthService>(
        monitor::HealthCollector::Collaborators{
            m_settings,
            m_index,
            m_auth,
            m_state,
            m_uploadWatcher,
            m_eventCounts,
            m_clock,
            m_listenerWatch,
            m_store->uploadCoordinator(),
            m_cloudWatch,
            std::make_shared<monitor::FreeSpaceWatch>(
                folders, monitor::FreeSpaceWatch::Collaborators{m_main, m_globalPool, m_clock}),
            std::make_shared<monitor::FailedFiles>(monitor::FailedFiles::Collaborators{
                m_main, m_globalPool, m_clock, [this] { return failedFilesIn(m_index); }}),
            [this] { return upkeepFigures(); }},
        m_main,
        monitor::HealthService::Places{m_options.layout.healthSocket(), m_options.metricsAddress},
        m_options.writeLine);
}

account::CloudWatch::Collaborators Gateway::watchCollaborators()
{
    return {m_statusApi,
            m_userApi,
            m_termsApi,
            m_cloud.networkSettings(),
            m_defaults,
            m_notifications,
            m_main,
            m_cloudPool,
            m_clock,
            m_auth};
}

terminal::TermsCommands::Collaborators Gateway::termsCollaborators()
{
    return {m_termsApi, m_defaults, m_notifications, m_main, m_cloudPool, m_clock, m_auth, [this] {
                m_cloudWatch.checkTerms();
            }};
}

upload::UploadOpener::Collaborators Gateway::openerCollaborators()
{
    return {m_defaults, m_notifications, m_auth, m_cloudWatch, *m_store};
}

terminal::AccountCommands::Collaborators Gateway::accountCollaborators()
{
    return {m_userApi, m_bugReportApi, m_defaults, m_notifications, m_main, m_cloudPool, m_auth};
}

QString Gateway::missingSession() const
{
    const account::SessionStanding &standing = m_auth.standing();
    switch (standing.state) {
    case account::SessionState::signedIn:
    case account::SessionState::notKnownYet:
    case account::SessionState::signedOut: // on a person's word
        return {};
    case account::SessionState::ended:
        return QStringLiteral(
                   "Images wait, and there is no session: the cloud ended it at %1. They are kept "
                   "here, but none is sent. Sign in again: quorin-gateway sign-in --email ADDRESS.")
            .arg(standing.since.value_or(QDateTime()).toLocalTime().toString(Qt::ISODate));
    case account::SessionState::credentialsRefused:
        return QStringLiteral("Images wait, and the archive refuses the user name or password since %1. They "
                              "are tried again by themselves; if they have changed, sign in again: "
                              "quorin-gateway sign-in --email NAME.")
            .arg(standing.since.value_or(QDateTime()).toLocalTime().toString(Qt::ISODate));
    }
    return {};
}

/// Once for each way in which the session is missing, as soon as images wait for it.
void Gateway::tellMissingSession()
{
    const QString words = missingSession();
    if (words == m_toldSession) {
        return;
    }
    if (!words.isEmpty()) {
        const std::optional<index::IndexFigures> figures = m_index.figures();
        if (!figures || figures->total.images == figures->syncedImages) {
            return;
        }
        m_options.writeLine(words);
        m_systemLog.write(platform::SystemLogLevel::error,
                          QStringLiteral("com.ovelt.QuorinGateway"),
                          QStringLiteral("session"),
                          words);
    }
    m_toldSession = words;
}

std::shared_ptr<terminal::DoctorCommands> Gateway::makeDoctor()
{
    return std::make_shared<terminal::DoctorCommands>(
        m_index,
        m_main,
        [this] { return receive::incomingFolder(m_settings, m_options.layout.incomingFolder); },
        [this] { m_store->requestUpload(QStringLiteral("doctor")); },
        [this] {
            return terminal::DoctorCommands::Uploads{m_store->uploadCoordinator().closure(),
                                                     missingSession()};
        });
}

ScreenModels Gateway::screenModels()
{
    return {m_defaults,
            m_settings,
            m_notifications,
            m_main,
            m_globalPool,
            m_cloudPool,
            m_clock,
            m_index,
            m_bugReportApi,
            m_termsApi,
            m_state,
            m_auth,
            m_cloudWatch,
            m_setup,
            *m_store,
            *m_delegate,
            m_options.layout};
}

void Gateway::launch()
{
    m_delegate->applicationDidFinishLaunching();
    if (!core::isSetupRequired(m_settings)) {
        m_uploadOpener.launched(QStringLiteral(QUORIN_VERSION " ") +
                                m_cloud.configuration().baseUrl.toString(QUrl::RemoveUserInfo));
    }
    m_auth.startPolling(kSessionPoll);
    m_cloudWatch.start();
    m_globalPool.run([this] { m_index.finishRemovals(); });
    m_inboxWatch.emplace(
        m_clock,
        [this] { return receive::incomingFolder(m_settings, m_options.layout.incomingFolder); },
        [this](const QString &path) { m_store->listenerService().offerInboxFile(path); },
        [this](qsizetype count) { m_main.post([this, count] { m_state.setSetAsideFilesCount(count); }); });
    if (m_index.lacksStoredFiles()) {
        say(QStringLiteral("The index was missing and was made anew. The stored images are being recorded in "
                           "it again, and are sent again where the cloud doesn't have them."));
    }
    m_recording =
        platform::Task("recording", [this](const std::stop_token &stop) { recordStoredFiles(stop); });
}

/// Gives the stored files rows again that a lost index leaves without.
void Gateway::recordStoredFiles(const std::stop_token &stop)
{
    constexpr std::chrono::minutes kPause(1); // trouble of the disk, or a share that is away
    std::int64_t recorded = 0;
    const auto count = [&](std::int64_t files) {
        recorded += files;
        m_store->requestUpload(QStringLiteral("store_recorded_again"));
    };
    while (!m_index.recordStoredFiles(stop, count)) {
        if (!m_clock.sleep(kPause, stop)) {
            return;
        }
    }
    if (recorded > 0) {
        say(QStringLiteral("%1 stored files are recorded in the index again.").arg(recorded));
    }
}

void Gateway::say(const QString &sentence)
{
    m_systemLog.write(platform::SystemLogLevel::error,
                      QStringLiteral("com.ovelt.pavan.gateway"),
                      QStringLiteral("index"),
                      sentence);
    m_options.writeLine(sentence);
}

void Gateway::terminate()
{
    m_delegate->applicationWillTerminate();
    m_health->close();
}

void Gateway::handle(const terminal::ControlRequest &request,
                     const terminal::InstanceCommands::Answer &answer)
{
    if (request.command == terminal::requests::kDoctor) {
        m_doctor->examine(request, answer);
    } else {
        m_commands->handle(request, answer);
    }
}

} // namespace gateway::app
