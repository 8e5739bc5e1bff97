#pragma once

#include "app/cloud_account.h"
#include "app/launch_ports.h"
#include "app/packaged_updates.h"
#include "state/gateway_app_state.h"
#include "updates/gateway_updater_service.h"
#include "updates/gateway_version_policy_service.h"

#include <memory>

namespace gateway::app {

/// What keeps the program itself up to date.
///
/// Owner: Gateway. Thread: main.
struct Upkeep final : ProgramUpkeep
{
    Upkeep(Ground &ground, CloudAccount &account, state::GatewayAppState &live, GatewayFace &face)
        : updaterService(
              {.emitter = ground.emitter,
               .showBanner = showBanner(live),
               .makeUpdater =
                   [&face](updates::UpdaterDelegate &) { return std::make_unique<PackagedUpdates>(face); }}),
          versionPolicyService({.versionsAPI = account.versionsApi,
                                .updaterService = updaterService,
                                .emitter = ground.emitter,
                                .settings = ground.settings,
                                .alerts = face,
                                .showBanner = showBanner(live)},
                               {.main = ground.main, .pool = ground.networkPool, .clock = ground.clock})
    {
    }

    static updates::ShowUpdateBanner showBanner(state::GatewayAppState &live)
    {
        return [&live](const std::optional<QString> &message) { live.setUpdateBannerMessage(message); };
    }

    void checkInstallLocation() override {}
    void startUpdater() override { updaterService.start(); }
    void startVersionPolicy() override { versionPolicyService.start(); }
    void checkForUpdates(const QString &reason) override { updaterService.checkForUpdates(reason); }

    updates::GatewayUpdaterService updaterService;
    updates::GatewayVersionPolicyService versionPolicyService;
};

} // namespace gateway::app
