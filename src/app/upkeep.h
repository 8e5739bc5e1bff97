#pragma once

#include "app/cloud_account.h"
#include "app/launch_ports.h"
#include "state/gateway_app_state.h"
#include "updates/gateway_updater_service.h"
#include "updates/gateway_version_policy_service.h"
#include "updates/move_to_applications_service.h"
#include "updates/update_source.h"

#include <QtCore/QString>

#include <memory>

namespace gateway::updates {
class AppcastUpdater;
}

namespace gateway::app {

/// What keeps the program itself up to date and in its place.
///
/// Owner: Gateway. Thread: main.
class Upkeep final : public ProgramUpkeep
{
public:
    /// All outlive this.
    Upkeep(Ground &ground, CloudAccount &account, state::GatewayAppState &live, GatewayFace &face);

    void checkInstallLocation() override { m_installLocation.checkInstallLocation(); }
    void startUpdater() override { m_updaterService.start(); }
    void startVersionPolicy() override { m_versionPolicyService.start(); }
    void checkForUpdates(const QString &reason) override { m_updaterService.checkForUpdates(reason); }

    /// The program quits.
    void finish();

    /// Ends this program and starts it anew. \return false where its file isn't there any more.
    bool restart();

    /// The program that takes the place of this one when it has ended; empty for none.
    const QString &successor() const { return m_successor; }

private:
    updates::ShowUpdateBanner bannerOfUpdater();
    updates::ShowUpdateBanner bannerOfPolicy();
    std::unique_ptr<updates::Updater> makeUpdater(updates::UpdaterDelegate &delegate);
    std::unique_ptr<updates::Updater> makeAppcastUpdater(updates::UpdaterDelegate &delegate,
                                                         const core::UpdateChannel &channel);
    bool giveWayTo(const QString &program);
    void noteProblem(const QString &sentence);

    Ground &m_ground;
    CloudAccount &m_account;
    state::GatewayAppState &m_live;
    GatewayFace &m_face;
    const QString m_appImage; // the file that runs; empty where it is none
    QString m_successor;
    std::unique_ptr<updates::UpdateSource> m_source;
    std::unique_ptr<updates::PackageInstaller> m_installer;
    updates::AppcastUpdater *m_updater = nullptr; // the updater service's, where it is one of ours
    updates::MoveToApplicationsService m_installLocation;
    updates::GatewayUpdaterService m_updaterService;
    updates::GatewayVersionPolicyService m_versionPolicyService;
};

} // namespace gateway::app
