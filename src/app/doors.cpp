#include "app/doors.h"

#include <QtCore/QMap>

#include <optional>

namespace gateway::app {

namespace {

monitor::FailedFiles::Counts failedFilesIn(const index::FailedUploads &failures)
{
    monitor::FailedFiles::Counts counts;
    for (const index::UploadFailureCount &known : failures.counts()) {
        counts.byClass[known.failureClass] += known.files;
    }
    counts.waiting = failures.waitingRetries();
    return counts;
}

/// The folders whose room operators watch, by their words.
monitor::FreeSpaceWatch::Folders watchedFolders(const Ground &ground, const Receiving &receiving)
{
    return {{QStringLiteral("store"), [&layout = ground.options.layout] { return layout.fileStore; }},
            {QStringLiteral("inbox"), [&folders = receiving.incomingFolders] { return folders.present(); }}};
}

} // namespace

wizard::SetupWizardParts Doors::setupParts()
{
    return {.defaults = ground.defaults,
            .settings = ground.settings,
            .main = ground.main,
            .pool = ground.pool,
            .clock = ground.clock,
            .listener = *receiving.store,
            .turn = setupTurn,
            .machine =
                wizard::SetupMachine::here(ground.options.bindAddress, ground.options.layout.incomingFolder)};
}

wizard::SampleParts Doors::sampleParts()
{
    return {.defaults = ground.defaults,
            .main = ground.main,
            .pool = ground.pool,
            .networkPool = ground.networkPool,
            .clock = ground.clock,
            .gateway = sampleWay,
            .cloud = sampleWay};
}

browser::CloudBrowserParts Doors::cloudBrowser()
{
    return {.queries = account.queryApi,
            .deletes = account.deleteApi,
            .emitter = ground.emitter,
            .defaults = ground.defaults,
            .record = ground.index,
            .runtime = {.main = ground.main, .pool = ground.networkPool, .clock = ground.clock},
            .session = [&settings = account.client.networkSettings()] { return settings.token(); }};
}

browser::LocalBrowserParts Doors::localBrowser()
{
    return {.index = ground.index,
            .failures = ground.index.failedUploads(),
            .notifications = ground.notifications,
            .runtime = {.main = ground.main, .pool = ground.pool, .clock = ground.clock},
            .countersChanged = [&state = live] {
                state.refreshCounters();
                state.refreshTransferSeries();
            }};
}

QString Doors::plainSecrets() const
{
    return account.tokens->keepsPlainFiles() ? ground.options.layout.tokenFolder() : QString();
}

bool Doors::areImagesWaiting()
{
    const std::optional<index::IndexFigures> figures = ground.index.figures();
    return figures && figures->total.images != figures->syncedImages;
}

state::UpkeepFigures Doors::upkeepFigures()
{
    const auto recording =
        ground.index.storeRecording().recordingProgress().value_or(index::RecordingProgress());
    return {.inbox = live.figures().inbox,
            .isStoreOutOfSight = live.figures().isStoreOutOfSight,
            .isRetentionHeldBack = sending.cleanup.isHeldBack(),
            .filesToRecordAgain = recording.files,
            .filesRecordedAgain = recording.recorded,
            .formerIndex = ground.index.former().path().value_or(QString()),
            .logBytes = ground.logRoom.bytes(),
            .logLimitBytes = core::logLimitBytes(ground.defaults)};
}

std::shared_ptr<AppDelegate> Doors::makeDelegate()
{
    return std::make_shared<AppDelegate>(
        AppDelegate::Collaborators{.settings = ground.settings,
                                   .notifications = ground.notifications,
                                   .main = ground.main,
                                   .clock = ground.clock,
                                   .face = face,
                                   .upkeep = upkeep,
                                   .autoDeleteCleanupService = sending.cleanup,
                                   .store = *receiving.store,
                                   .isApplyingSetup = [this] { return setupTurn.isTaken(); }});
}

std::shared_ptr<terminal::StatusCommands> Doors::makeStatus()
{
    return std::make_shared<terminal::StatusCommands>(terminal::StatusCommands::Collaborators{
        .main = ground.main,
        .pool = ground.networkPool,
        .settings = ground.settings,
        .receiving = {.listener = receiving.listenerWatch, .state = live},
        .sending = {.index = ground.index,
                    .failures = ground.index.failedUploads(),
                    .runs = sending.runWatcher,
                    .coordinator = *sending.coordinator},
        .cloud = {.configuration = account.client.configuration(),
                  .watch = account.watch,
                  .auth = account.auth},
        .upkeep = [this] { return upkeepFigures(); }});
}

std::shared_ptr<terminal::DoctorCommands> Doors::makeDoctor()
{
    return std::make_shared<terminal::DoctorCommands>(
        ground.index,
        ground.emitter,
        ground.main,
        ground.clock,
        receiving.incomingFolders,
        [this](const QString &path) { return receiving.store->listenerService().awaitsRemoval(path); },
        [this] {
            receiving.store->listenerService().keepOrder();
            receiving.store->requestUpload(QStringLiteral("doctor"));
        },
        [this] {
            return terminal::DoctorCommands::Standing{
                .pause = sending.coordinator->closure(),
                .missingSession = missingSession.sentence(),
                .isSignedIn = account.auth.standing().state != account::SessionState::signedOut,
                .isListeningAsItShould = receiving.listenerWatch.figures().isAsItShouldBe(),
                .logBytes = ground.logRoom.bytes(),
                .logLimitBytes = core::logLimitBytes(ground.defaults)};
        });
}

std::unique_ptr<monitor::HealthService> Doors::makeHealth()
{
    const auto freeSpace = std::make_shared<monitor::FreeSpaceWatch>(
        watchedFolders(ground, receiving),
        monitor::FreeSpaceWatch::Collaborators{
            .main = ground.main, .pool = ground.pool, .clock = ground.clock});
    const auto failedFiles = std::make_shared<monitor::FailedFiles>(monitor::FailedFiles::Collaborators{
        .main = ground.main, .pool = ground.pool, .clock = ground.clock, .count = [this] {
            return failedFilesIn(ground.index.failedUploads());
        }});
    return std::make_unique<monitor::HealthService>(
        monitor::HealthCollector::Collaborators{
            .settings = ground.settings,
            .events = ground.eventCounts,
            .clock = ground.clock,
            .receiving = {.listener = receiving.listenerWatch, .state = live},
            .sending = {.index = ground.index,
                        .runs = sending.runWatcher,
                        .coordinator = *sending.coordinator,
                        .failedFiles = failedFiles},
            .cloud = {.watch = account.watch, .auth = account.auth},
            .freeSpace = freeSpace,
            .upkeep = [this] { return upkeepFigures(); }},
        ground.main,
        monitor::HealthService::Places{.socket = ground.options.layout.healthSocket(),
                                       .address = ground.options.metricsAddress},
        ground.options.writeLine);
}

} // namespace gateway::app
