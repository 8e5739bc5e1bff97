#include "app/gateway.h"

#include "platform/concurrency/main_thread.h"

#include <QtCore/QTimeZone>

#include <chrono>
#include <utility>

namespace gateway::app {

namespace {

constexpr std::chrono::seconds kSessionPoll{60};
constexpr std::chrono::seconds kPatienceWithLog{2}; // at the end; its disk may stall

const QString kPresentInbox; // has no name of its own: the settings say where it is

} // namespace

Gateway::Gateway(GatewayOptions options, GatewayFace &face) : m_options(std::move(options)), m_face(face)
{
    platform::assertMainThread("Gateway");
    m_ground.converter.sweepLeftovers();
}

state::GatewayAppStateParts Gateway::figureParts()
{
    return {.index = m_ground.index,
            .notifications = m_ground.notifications,
            .main = m_ground.main,
            .pool = m_ground.pool,
            .clock = m_ground.clock,
            .timeZone = [] { return QTimeZone::systemTimeZone(); }};
}

shell::ScreenModels Gateway::screenModels()
{
    return {.runtime = {.defaults = m_ground.defaults,
                        .settings = m_ground.settings,
                        .notifications = m_ground.notifications,
                        .main = m_ground.main,
                        .pool = m_ground.pool,
                        .networkPool = m_ground.networkPool,
                        .clock = m_ground.clock,
                        .layout = m_options.layout,
                        .deployment = m_ground.deployment},
            .cloud = {.bugReports = m_account.bugReportApi,
                      .takesBugReports = !m_account.client.isPlainArchive(),
                      .collectSupportBundle = [this] { return m_doors.support.collect(); },
                      .terms = m_account.termsApi,
                      .user = m_account.userApi,
                      .keepsProfiles = !m_account.client.isPlainArchive(),
                      .auth = m_account.auth,
                      .watch = m_account.watch,
                      .archive = m_account.client.isPlainArchive() ? &m_doors.archiveSignIn : nullptr,
                      .choice = m_doors.cloudChoice},
            .images = {.index = m_ground.index,
                       .appState = m_live,
                       .listener = m_receiving.store->listenerService(),
                       .manualImports = m_receiving.store->manualImportService()},
            .browsers = {.cloud = m_doors.cloudBrowser(),
                         .local = m_doors.localBrowser(),
                         .sendNow = [this](const QString &study) { sendNow(study); }},
            .setup = m_doors.setupParts(),
            .trial = m_doors.trial};
}

void Gateway::sendNow(const QString &study)
{
    m_ground.pool.run([this, study] {
        m_ground.index.failedUploads().releaseRetriesOf(study);
        m_ground.main.post([this] {
            m_receiving.store->requestUpload(QStringLiteral("local_browser"), upload::UploadUrgency::openNow);
        });
    });
}

void Gateway::launch()
{
    if (const auto words = m_doors.keptCloud.difference()) {
        m_options.writeLine(*words);
    }
    tellOfFormerIndex();
    m_doors.delegate->applicationDidFinishLaunching();
    if (!core::isSetupRequired(m_ground.settings)) {
        m_doors.uploadOpener.launched(
            QStringLiteral(QUORIN_VERSION " ") +
            m_account.client.configuration().baseUrl.toString(QUrl::RemoveUserInfo));
    }
    m_account.auth.startPolling(kSessionPoll);
    m_account.watch.start();
    m_ground.pool.run([this] { m_ground.index.finishRemovals(); });
    m_doors.sampleRemoval.clearUp();
    QObject::connect(&m_account.auth, &account::QuorinAuthViewModel::changed, &m_doors.trial, [this] {
        m_doors.sampleRemoval.sessionSeen();
    });
    startWatches();
    m_recording.emplace(IndexRecording::Collaborators{.index = m_ground.index,
                                                      .clock = m_ground.clock,
                                                      .uploads = *m_receiving.store,
                                                      .listener = m_receiving.store->listenerService(),
                                                      .systemLog = m_ground.systemLog,
                                                      .writeLine = m_options.writeLine});
}

void Gateway::tellOfFormerIndex()
{
    const index::FormerIndex &former = m_ground.index.former();
    if (!former.problem().isEmpty()) {
        m_options.writeLine(
            QStringLiteral("No copy of the index of the version before is kept (%1). The index has been "
                           "brought to this version without one; no image depends on it.")
                .arg(former.problem()));
    } else if (const auto path = former.path()) {
        m_options.writeLine(QStringLiteral("The index of the version before is kept at %1 until this "
                                           "version has been ended in an orderly way and starts again.")
                                .arg(*path));
    }
}

void Gateway::startWatches()
{
    receive::IncomingFolders &folders = m_receiving.incomingFolders;
    m_inboxWatch.emplace(
        m_ground.clock,
        receive::InboxWatch::Inboxes{
            [&folders] { return QStringList(kPresentInbox) + folders.known(); },
            [this, &folders](const QString &inbox) {
                return inbox == kPresentInbox ? lookAtPresentInbox() : folders.lookAt(inbox);
            },
            [&folders](const QString &inbox, bool isSilent) { folders.setSilent(inbox, isSilent); }},
        [this](const QString &path) { return m_receiving.store->listenerService().offerInboxFile(path); },
        [this](const state::InboxFigures &inbox) {
            m_ground.main.post([this, inbox] { inboxesWereSeen(inbox); });
        });
    m_storeWatch.emplace(
        m_ground.clock,
        [this] { return m_ground.index.takeUpStore(); },
        [this](bool isOutOfSight) {
            m_ground.main.post([this, isOutOfSight] { storeWasSeen(isOutOfSight); });
        });
}

receive::IncomingFolders::Sight Gateway::lookAtPresentInbox()
{
    const receive::IncomingFolders::Sight sight = m_receiving.incomingFolders.lookAtPresent();
    m_ground.main.post([this, sight] { m_receiving.store->listenerService().incomingFolderWasSeen(sight); });
    return sight;
}

/// Shows how it is, and says once that it holds up what was acknowledged.
void Gateway::storeWasSeen(bool isOutOfSight)
{
    if (isOutOfSight != m_live.figures().isStoreOutOfSight) {
        say(isOutOfSight
                ? QStringLiteral(
                      "The file store can't be seen at %1, or another one stands there, so nothing is "
                      "taken in or sent; what comes waits in the incoming folder. Bring its volume back.")
                      .arg(m_options.layout.fileStore)
                : QStringLiteral("The file store is in sight again."));
        if (!isOutOfSight) {
            m_receiving.store->requestUpload(QStringLiteral("store_in_sight"),
                                             upload::UploadUrgency::unlessAskedToWait);
        }
    }
    m_live.setStoreOutOfSight(isOutOfSight);
}

/// Shows how they are, and says once what holds up what was acknowledged.
void Gateway::inboxesWereSeen(const state::InboxFigures &inbox)
{
    const state::GatewayFigures &before = m_live.figures();
    if ((inbox.outOfSight > 0) != (before.inbox.outOfSight > 0)) {
        say(inbox.outOfSight > 0
                ? QStringLiteral("An incoming folder can't be seen, or another one stands in its place; "
                                 "received images may wait in it. quorin-gateway doctor says which. Bring "
                                 "its volume back.")
                : QStringLiteral("All incoming folders are in sight again."));
    }
    if (inbox.isWaitingLong() != before.inbox.isWaitingLong()) {
        say(inbox.isWaitingLong()
                ? QStringLiteral("Received images have been waiting for minutes to be taken in: %1. "
                                 "quorin-gateway doctor says why.")
                      .arg(inbox.waiting)
                : QStringLiteral("No received image waits for long any more."));
    }
    m_live.setInboxFigures(inbox);
}

void Gateway::say(const QString &sentence)
{
    m_ground.systemLog.write(platform::SystemLogLevel::error,
                             QStringLiteral("com.ovelt.pavan.gateway"),
                             QStringLiteral("receive"),
                             sentence);
    m_options.writeLine(sentence);
}

void Gateway::terminate()
{
    m_doors.delegate->applicationWillTerminate();
    m_receiving.store->listenerService().endListener();
    m_doors.upkeep.finish();
    m_ground.index.former().noteOrderlyEnd();
    m_doors.health->close();
    m_ground.logger.awaitWritten(kPatienceWithLog);
}

void Gateway::handle(const terminal::ControlRequest &request,
                     const terminal::InstanceCommands::Answer &answer)
{
    m_doors.commands.handle(request, answer);
}

} // namespace gateway::app
