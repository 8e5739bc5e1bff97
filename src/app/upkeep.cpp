#include "app/upkeep.h"

#include "app/packaged_updates.h"
#include "platform/concurrency/main_thread.h"
#include "platform/process/app_image.h"
#include "updates/app_image_installer.h"
#include "updates/appcast_source.h"
#include "updates/appcast_updater.h"
#include "updates/debian_installer.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>

#include <optional>

#include <sys/utsname.h>

namespace gateway::app {

namespace {

/// The kernel's name for this machine, such as "x86_64".
QString architecture()
{
    utsname names{};
    return ::uname(&names) == 0 ? QString::fromLocal8Bit(names.machine) : QString();
}

bool openWithTheDesktop(const QString &file)
{
    return QProcess::startDetached(QStringLiteral("xdg-open"), {file});
}

updates::MoveToApplicationsService::Place placeOf(const QString &appImage)
{
    return {.bundle = appImage,
            .homeFolder = QDir::homePath(),
            .isUnderTest = qEnvironmentVariableIsSet("XCTestConfigurationFilePath")};
}

} // namespace

Upkeep::Upkeep(Ground &ground, CloudAccount &account, state::GatewayAppState &live, GatewayFace &face)
    : m_ground(ground), m_account(account), m_live(live), m_face(face),
      m_appImage(platform::runningAppImage()),
      m_installLocation({.alerts = face,
                         .main = ground.main,
                         .pool = ground.pool,
                         .open = [this](const QString &program) { return giveWayTo(program); }},
                        placeOf(m_appImage)),
      m_updaterService(
          {.emitter = ground.emitter,
           .showBanner = bannerOfUpdater(),
           .makeUpdater = [this](updates::UpdaterDelegate &delegate) { return makeUpdater(delegate); }}),
      m_versionPolicyService({.versionsAPI = account.versionsApi,
                              .updaterService = m_updaterService,
                              .emitter = ground.emitter,
                              .settings = ground.settings,
                              .alerts = face,
                              .showBanner = bannerOfPolicy()},
                             {.main = ground.main, .pool = ground.networkPool, .clock = ground.clock})
{
    platform::assertMainThread("Upkeep");
    for (const QString &problem : ground.deployment.problems) {
        noteProblem(problem);
    }
}

updates::ShowUpdateBanner Upkeep::bannerOfUpdater()
{
    return [this](const std::optional<QString> &message) {
        m_live.setUpdateBannerMessage(message);
        m_face.tellUpdate(message.value_or(QString()));
    };
}

updates::ShowUpdateBanner Upkeep::bannerOfPolicy()
{
    return [this](const std::optional<QString> &message) { m_live.setUpdateBannerMessage(message); };
}

std::unique_ptr<updates::Updater> Upkeep::makeUpdater(updates::UpdaterDelegate &delegate)
{
    const std::optional<core::UpdateChannel> &channel = m_ground.deployment.updates;
    if (!channel) {
        return std::make_unique<PackagedUpdates>(m_face);
    }
    return makeAppcastUpdater(delegate, *channel);
}

std::unique_ptr<updates::Updater> Upkeep::makeAppcastUpdater(updates::UpdaterDelegate &delegate,
                                                             const core::UpdateChannel &channel)
{
    const bool isAppImage = !m_appImage.isEmpty();
    const QString ownData = QFileInfo(m_ground.options.layout.logFolder).absolutePath();
    m_source = std::make_unique<updates::AppcastSource>(
        updates::AppcastSource::Place{.feed = channel.feed,
                                      .reach = m_account.client.configuration(),
                                      .folder = isAppImage ? QFileInfo(m_appImage).absolutePath()
                                                           : ownData + QStringLiteral("/Updates")},
        updates::OwnBuild{.versionString = QStringLiteral(QUORIN_VERSION),
                          .kind = isAppImage ? updates::PackageKind::appImage : updates::PackageKind::debian,
                          .architecture = architecture(),
                          .publicKey = channel.publicKey});
    if (isAppImage) {
        m_installer = std::make_unique<updates::AppImageInstaller>(m_appImage);
    } else {
        m_installer = std::make_unique<updates::DebianInstaller>(openWithTheDesktop);
    }
    auto updater = std::make_unique<updates::AppcastUpdater>(
        updates::AppcastUpdater::Collaborators{
            .delegate = delegate,
            .source = *m_source,
            .installer = *m_installer,
            .defaults = m_ground.defaults,
            .show = [this](updates::AppcastUpdater &updater) { m_face.showUpdates(updater); },
            .relaunch = [this] { giveWayTo(m_appImage); },
            .backgroundFailed =
                [this](const updates::UpdateError &error) { noteProblem(sentenceFor(error)); }},
        updates::AppcastUpdater::Runtime{
            .main = m_ground.main, .pool = m_ground.networkPool, .clock = m_ground.clock});
    m_updater = updater.get();
    return updater;
}

void Upkeep::finish()
{
    if (m_updater != nullptr && m_successor.isEmpty()) {
        m_updater->installOnQuit();
    }
}

bool Upkeep::restart()
{
    return giveWayTo(m_appImage.isEmpty() ? QCoreApplication::applicationFilePath() : m_appImage);
}

/// Ends this program as quitting does; `runInstance` then starts the other one, once the home is free.
bool Upkeep::giveWayTo(const QString &program)
{
    if (!QFileInfo(program).isExecutable()) {
        return false;
    }
    m_successor = program;
    QCoreApplication::exit(); // not quit(), which windows may refuse
    return true;
}

void Upkeep::noteProblem(const QString &sentence)
{
    m_ground.systemLog.write(platform::SystemLogLevel::error,
                             QStringLiteral("com.ovelt.QuorinGateway"),
                             QStringLiteral("updater"),
                             sentence);
}

} // namespace gateway::app
