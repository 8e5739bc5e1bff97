#include "app/app_delegate.h"

#include "app/store.h"
#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "receive/listener_watch.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace gateway::app {

AppDelegate::AppDelegate(Collaborators collaborators) : m_with(std::move(collaborators))
{
    platform::assertMainThread("AppDelegate");
}

void AppDelegate::applicationDidFinishLaunching()
{
    m_with.face.showStatusBar();
    observeRequests();
    m_with.main.post(weak_from_this(), [this] { finishLaunching(); });
    m_with.store.requestUpload(QStringLiteral("app_launch"));
    m_with.autoDeleteCleanupService.runCleanup(QStringLiteral("app_launch"), std::nullopt, std::nullopt);
    startPeriodicCleanup();
}

void AppDelegate::observeRequests()
{
    observe(core::kOpenDashboard, &AppDelegate::openDashboard);
    observe(core::kOpenSignIn, &AppDelegate::openSignIn);
    observe(core::kOpenPreferences, &AppDelegate::openPreferences);
    observe(core::kOpenBugReport, &AppDelegate::openBugReport);
    observe(core::kQuorinCloudTermsRequired, &AppDelegate::showTermsRequired);
    observe(core::kOpenSetupWizard, &AppDelegate::openSetupWizard);
    observe(core::kCheckForUpdatesRequested, &AppDelegate::checkForUpdates);
    m_observers.push_back(m_with.notifications.observe(
        core::kStoreListenerError, [weak = weak_from_this()](const QVariantMap &userInfo) {
            if (const auto self = weak.lock()) {
                self->showDimseError(userInfo);
            }
        }));
}

void AppDelegate::observe(const QString &name, void (AppDelegate::*operation)())
{
    m_observers.push_back(
        m_with.notifications.observe(name, [weak = weak_from_this(), operation](const QVariantMap &) {
            if (const auto self = weak.lock()) {
                (self.get()->*operation)();
            }
        }));
}

void AppDelegate::finishLaunching()
{
    m_with.upkeep.checkInstallLocation();
    m_with.upkeep.startUpdater();
    m_with.upkeep.startVersionPolicy();
    if (core::isSetupRequired(m_with.settings)) {
        presentWizard(true);
    }
    if (!core::isSetupRequired(m_with.settings)) {
        m_with.store.listenerService().startListener();
    }
}

void AppDelegate::startPeriodicCleanup()
{
    if (m_periodicAutoDeleteCleanupTask.isSet()) {
        return;
    }
    // The service only queues the work, so this thread does nothing but wait.
    m_periodicAutoDeleteCleanupTask = platform::Task(
        "auto-delete",
        [&clock = m_with.clock, &service = m_with.autoDeleteCleanupService](const std::stop_token &stop) {
            while (clock.sleep(kPeriodicAutoDeleteCleanupInterval, stop)) {
                service.runCleanup(QStringLiteral("periodic_1h"), std::nullopt, std::nullopt);
            }
        });
}

void AppDelegate::applicationWillTerminate()
{
    m_periodicAutoDeleteCleanupTask = {};
}

void AppDelegate::presentWizard(bool blocking)
{
    m_with.face.bringForward();
    m_with.face.showSetupWizard(blocking);
}

/// While setup isn't finished, queues the wizard in place of what was asked for.
bool AppDelegate::landsInWizard()
{
    if (!core::isSetupRequired(m_with.settings)) {
        return false;
    }
    m_with.main.post(weak_from_this(), [this] { presentWizard(true); });
    return true;
}

void AppDelegate::openDashboard()
{
    if (!landsInWizard()) {
        m_with.face.bringForward();
        m_with.face.showDashboard();
    }
}

void AppDelegate::openSignIn()
{
    if (!landsInWizard()) {
        m_with.face.bringForward();
        m_with.face.showDashboard();
        m_with.main.post(weak_from_this(), [this] { m_with.face.showSignInSheet(); });
    }
}

void AppDelegate::openPreferences()
{
    if (!landsInWizard()) {
        m_with.face.bringForward();
        m_with.face.showPreferences();
    }
}

void AppDelegate::openBugReport()
{
    m_with.main.post(weak_from_this(), [this] {
        if (!landsInWizard()) {
            m_with.face.bringForward();
            m_with.face.showBugReport();
        }
    });
}

void AppDelegate::showTermsRequired()
{
    m_with.face.showTermsRequired();
}

void AppDelegate::openSetupWizard()
{
    m_with.main.post(weak_from_this(), [this] { presentWizard(core::isSetupRequired(m_with.settings)); });
}

void AppDelegate::checkForUpdates()
{
    m_with.main.post(
        [self = shared_from_this()] { self->m_with.upkeep.checkForUpdates(QStringLiteral("manual_menu")); });
}

void AppDelegate::showDimseError(const QVariantMap &userInfo)
{
    const bool isKnown = userInfo.value(receive::kListenerFailureIsKnownKey).toBool();
    if (isKnown || m_with.face.isSetupWizardVisible() || m_with.isApplyingSetup()) {
        return;
    }
    m_with.face.showAlert(QCoreApplication::translate("Listener", "DIMSE Listener Error"),
                          receive::listenerFailureText(userInfo).inLanguage());
}

void AppDelegate::enforceSetupWizardIfNeeded()
{
    if (core::isSetupRequired(m_with.settings)) {
        presentWizard(true);
    }
}

void AppDelegate::reopen()
{
    if (core::isSetupRequired(m_with.settings)) {
        presentWizard(true);
    } else {
        m_with.face.bringForward();
        m_with.face.reopen();
    }
}

} // namespace gateway::app
