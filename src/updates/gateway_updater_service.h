#pragma once

#include "updates/updater.h"

#include <QtCore/QString>

#include <functional>
#include <memory>
#include <optional>

namespace gateway::log {
class StoreLogEmitter;
}

namespace gateway::updates {

/// Shows a banner over the screens; nothing takes it away.
using ShowUpdateBanner = std::function<void(const std::optional<QString> &message)>;

/// Decides when the updater checks, and reminds of what it finds by the banner alone.
///
/// Owner: app; exactly one exists. Thread: main.
class GatewayUpdaterService final : public UpdaterDelegate
{
public:
    struct Collaborators
    {
        log::StoreLogEmitter &emitter; ///< outlives the service
        ShowUpdateBanner showBanner;

        /// Makes the updater at its first use; the delegate is this service and outlives it.
        std::function<std::unique_ptr<Updater>(UpdaterDelegate &delegate)> makeUpdater;
    };

    explicit GatewayUpdaterService(Collaborators collaborators);

    GatewayUpdaterService(const GatewayUpdaterService &) = delete;
    GatewayUpdaterService &operator=(const GatewayUpdaterService &) = delete;

    /// Once in a run: starts the updater and, where automatic checks are on, the one check in the background
    /// of this launch. A second call does nothing.
    void start();

    /// A check that shows the updater's own windows; starts the service before, if need be.
    ///
    /// \param reason  a word for the log: "manual_menu" or "critical_policy_prompt".
    void checkForUpdates(const QString &reason);

    bool supportsGentleScheduledUpdateReminders() const override { return true; }
    void updaterDidFindValidUpdate(const UpdateItem &item) override;

private:
    Updater &updater();
    void logCheckRequested(const QString &reason);

    const Collaborators m_collaborators;
    bool m_hasStarted = false;
    std::unique_ptr<Updater> m_updater; // absent before its first use
};

} // namespace gateway::updates
