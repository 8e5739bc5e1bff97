#include "updates/gateway_updater_service.h"

#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/main_thread.h"
#include "state/update_banner.h"

#include <utility>

namespace gateway::updates {

GatewayUpdaterService::GatewayUpdaterService(Collaborators collaborators)
    : m_collaborators(std::move(collaborators))
{
    platform::assertMainThread("GatewayUpdaterService");
}

void GatewayUpdaterService::start()
{
    if (std::exchange(m_hasStarted, true)) {
        return;
    }
    m_collaborators.emitter.emit({.category = log::GatewayLogCategory::updater,
                                  .action = log::GatewayLogAction::updaterStarted,
                                  .outcome = log::GatewayLogOutcome::started});
    if (updater().automaticallyChecksForUpdates()) {
        logCheckRequested(QStringLiteral("startup_background"));
        updater().checkForUpdatesInBackground();
    }
}

void GatewayUpdaterService::checkForUpdates(const QString &reason)
{
    start();
    logCheckRequested(reason);
    updater().checkForUpdates();
}

void GatewayUpdaterService::updaterDidFindValidUpdate(const UpdateItem &item)
{
    m_collaborators.showBanner(state::updateAvailableBanner(item.displayVersionString, item.versionString));
}

Updater &GatewayUpdaterService::updater()
{
    if (!m_updater) {
        m_updater = m_collaborators.makeUpdater(*this);
    }
    return *m_updater;
}

void GatewayUpdaterService::logCheckRequested(const QString &reason)
{
    m_collaborators.emitter.emit({.category = log::GatewayLogCategory::updater,
                                  .action = log::GatewayLogAction::updaterCheckRequested,
                                  .outcome = log::GatewayLogOutcome::started,
                                  .details = {{QStringLiteral("reason"), reason}}});
}

} // namespace gateway::updates
