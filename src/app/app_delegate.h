#pragma once

#include "app/launch_ports.h"
#include "core/settings.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task.h"
#include "platform/notifications/notification_center.h"
#include "upload/upload_ports.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace gateway::app {

class Store;

/// The order in which the gateway comes up and goes down, and the answers to requests to open something.
///
/// While setup isn't finished there is no listener and no upload, and every request to open a window lands in
/// the setup wizard.
///
/// Owner: Gateway, as a shared pointer. Thread: main.
class AppDelegate : public std::enable_shared_from_this<AppDelegate>
{
public:
    struct Collaborators
    {
        core::Settings &settings;
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        platform::Clock &clock;
        GatewayFace &face;
        ProgramUpkeep &upkeep;
        upload::GatewayAutoDeleteCleanupServicing &autoDeleteCleanupService;
        Store &store;
        std::function<bool()> isApplyingSetup; ///< whoever applies reports a failed start itself
    };

    /// How long the hourly cleanup waits, measured from the end of the wait before.
    static constexpr std::chrono::nanoseconds kPeriodicAutoDeleteCleanupInterval{3'600'000'000'000};

    explicit AppDelegate(Collaborators collaborators);

    /// Observes the notifications, asks for an upload and a cleanup, and starts the hourly cleanup; the late
    /// part (install location, updater, version policy, wizard, listener) follows from the main queue.
    void applicationDidFinishLaunching();

    /// Ends the hourly cleanup, and nothing else: the listener isn't stopped and no upload is cancelled. What
    /// was in flight is found again at the next start.
    void applicationWillTerminate();

    void openDashboard();
    void openSignIn();
    void openPreferences();
    void openBugReport();
    void showTermsRequired();
    void openSetupWizard();
    void checkForUpdates();

    /// \param userInfo  "message" is shown where it is a text.
    void showDimseError(const QVariantMap &userInfo);

    /// Brings the wizard back as long as setup isn't finished; called at each activation.
    void enforceSetupWizardIfNeeded();

    /// The program was started once more while this one runs.
    void reopen();

    /// A second call keeps the first task.
    void startPeriodicCleanup();

private:
    void observeRequests();
    void observe(const QString &name, void (AppDelegate::*operation)());
    void finishLaunching();
    void presentWizard(bool blocking);
    bool landsInWizard();

    Collaborators m_collaborators;
    std::vector<platform::NotificationCenter::Token> m_observers;
    platform::Task m_periodicAutoDeleteCleanupTask;
};

} // namespace gateway::app
