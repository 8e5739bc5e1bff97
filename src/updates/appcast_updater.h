#pragma once

#include "platform/concurrency/task_scope.h"
#include "updates/appcast.h"
#include "updates/update_error.h"
#include "updates/updater.h"

#include <QCoro/QCoroTask>

#include <QtCore/QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace gateway::platform {
class Clock;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::updates {

class PackageInstaller;
class UpdateSource;

/// The updater over a feed of signed builds. What it does for a person can be watched; what it does by itself
/// shows nothing: it looks, fetches what can be installed without a question, and installs that at quitting.
///
/// Owner: GatewayUpdaterService. Thread: main.
class AppcastUpdater final : public QObject, public Updater
{
    Q_OBJECT

public:
    /// How far a check or an installation that a person asked for has come.
    enum class Phase
    {
        idle, ///< nothing was asked for
        checking,
        upToDate,
        available, ///< an item waits for the person's word
        fetching,
        installing,
        installed,  ///< the new build is in place, and starts when this one has ended
        handedOver, ///< the system's installer has the package
        failed      ///< `error` says why; an item that there is may be tried again
    };

    struct Standing
    {
        Phase phase = Phase::idle;
        std::optional<AppcastItem> item = std::nullopt;
        qint64 received = 0; ///< bytes of the item's package
        std::optional<UpdateError> error = std::nullopt;
    };

    /// All outlive the updater.
    struct Collaborators
    {
        UpdaterDelegate &delegate;
        UpdateSource &source;
        PackageInstaller &installer;
        platform::UserDefaults &defaults;
        std::function<void(AppcastUpdater &)> show; ///< brings up what shows a standing
        std::function<void()> relaunch;             ///< ends this program and starts the new one
        std::function<void(const UpdateError &)> backgroundFailed; ///< for the system's log
    };

    struct Runtime
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
    };

    static constexpr std::chrono::hours kCheckInterval{24};

    /// Starts the checks in the background, the first one an interval from now.
    AppcastUpdater(Collaborators collaborators, const Runtime &runtime);
    ~AppcastUpdater() override;

    bool automaticallyChecksForUpdates() const override;
    void setAutomaticallyChecksForUpdates(bool areOn) override;
    void checkForUpdatesInBackground() override;
    void checkForUpdates() override;

    const Standing &standing() const { return m_standing; }

    /// Fetches, verifies and installs the item that waits; nothing happens where none does.
    void install();

    /// "Later": ends a fetch that is under way, whose bytes stay for the next time, and shows nothing more.
    /// An installation goes on.
    void dismiss();

    /// The program quits: installs the update that was found and fetched by itself, if there is one. What
    /// runs next is the new build, or this one where that failed. Blocks for some waits for the disk.
    void installOnQuit();

    /// Ends what is under way and returns when it has ended.
    void close();

Q_SIGNALS:
    /// The standing is another one.
    void changed();

private:
    using Found = std::optional<AppcastItem>;

    QCoro::Task<> checkByItself();
    QCoro::Task<> check();
    void applyFound(const Found &item);
    void applyFailure(const UpdateError &error);
    QCoro::Task<> fetchAhead(AppcastItem item, std::stop_token stop);
    QCoro::Task<> fetchAndInstall(AppcastItem item, std::stop_token stop);
    QCoro::Task<QString> fetch(AppcastItem item, std::stop_token stop);
    void noteReceived(qint64 received);
    void stand(Standing standing);

    const Collaborators m_collaborators;
    const Runtime m_runtime;
    Standing m_standing;
    bool m_isChecking = false;
    std::stop_source m_fetch;
    std::stop_source m_ahead;
    std::optional<AppcastItem> m_itemAhead; // fetched by itself, for quitting
    std::shared_ptr<const void> m_life;     // what is posted to the main thread is dropped once it has died
    platform::TaskScope m_scope;            // last: drained before the fields go
};

} // namespace gateway::updates
