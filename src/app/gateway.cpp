#include "app/gateway.h"

#include "platform/concurrency/main_thread.h"

#include <QtCore/QTimeZone>

#include <chrono>
#include <utility>

namespace gateway::app {

namespace {

constexpr std::chrono::seconds kSessionPoll{60};

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
                        .layout = m_options.layout},
            .cloud = {.bugReports = m_account.bugReportApi,
                      .terms = m_account.termsApi,
                      .auth = m_account.auth,
                      .watch = m_account.watch},
            .images = {.index = m_ground.index,
                       .appState = m_live,
                       .listener = m_receiving.store->listenerService(),
                       .manualImports = m_receiving.store->manualImportService()},
            .browsers = {.cloud = m_doors.cloudBrowser(),
                         .local = m_doors.localBrowser(),
                         .sendNow = [this](const QString &study) { sendNow(study); }},
            .setup = m_doors.setupParts()};
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
    m_doors.delegate->applicationDidFinishLaunching();
    if (!core::isSetupRequired(m_ground.settings)) {
        m_doors.uploadOpener.launched(
            QStringLiteral(QUORIN_VERSION " ") +
            m_account.client.configuration().baseUrl.toString(QUrl::RemoveUserInfo));
    }
    m_account.auth.startPolling(kSessionPoll);
    m_account.watch.start();
    m_ground.pool.run([this] { m_ground.index.finishRemovals(); });
    m_inboxWatch.emplace(
        m_ground.clock,
        [this] {
            m_receiving.incomingFolders.forgetEmptied();
            return m_receiving.incomingFolders.owned();
        },
        [this](const QString &path) { m_receiving.store->listenerService().offerInboxFile(path); },
        [this](const state::InboxFigures &inbox) {
            const bool isStoreOutOfSight = m_ground.index.isStoreOutOfSight();
            m_ground.main.post(
                [this, inbox, isStoreOutOfSight] { inboxesWereSeen(inbox, isStoreOutOfSight); });
        });
    m_recording.emplace(IndexRecording::Collaborators{.index = m_ground.index,
                                                      .clock = m_ground.clock,
                                                      .uploads = *m_receiving.store,
                                                      .listener = m_receiving.store->listenerService(),
                                                      .systemLog = m_ground.systemLog,
                                                      .writeLine = m_options.writeLine});
}

/// Shows how they are, and says once what holds up what was acknowledged.
void Gateway::inboxesWereSeen(const state::InboxFigures &inbox, bool isStoreOutOfSight)
{
    const state::GatewayFigures &before = m_live.figures();
    if (isStoreOutOfSight != before.isStoreOutOfSight) {
        say(isStoreOutOfSight
                ? QStringLiteral(
                      "The file store can't be seen at %1, so nothing is taken in; what comes waits "
                      "in the incoming folder. Bring its volume back.")
                      .arg(m_options.layout.fileStore)
                : QStringLiteral("The file store is in sight again."));
    }
    if (inbox.isWaitingLong() != before.inbox.isWaitingLong()) {
        say(inbox.isWaitingLong()
                ? QStringLiteral("Received images have been waiting for minutes to be taken in: %1. "
                                 "quorin-gateway doctor says why.")
                      .arg(inbox.waiting)
                : QStringLiteral("No received image waits for long any more."));
    }
    m_live.setInboxFigures(inbox);
    m_live.setStoreOutOfSight(isStoreOutOfSight);
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
    m_doors.upkeep.finish();
    m_doors.health->close();
}

void Gateway::handle(const terminal::ControlRequest &request,
                     const terminal::InstanceCommands::Answer &answer)
{
    m_doors.commands.handle(request, answer);
}

} // namespace gateway::app
