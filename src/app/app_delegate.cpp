#include "app/app_delegate.h"

#include "app/store.h"
#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"
#include "receive/listener_watch.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace gateway::app {

AppDelegate::AppDelegate(Collaborators collaborators) : m_collaborators(std::move(collaborators))
{
    platform::assertMainThread("AppDelegate");
}

void AppDelegate::applicationDidFinishLaunching()
{
    m_collaborators.face.showStatusBar();
    observeRequests();
    m_collaborators.main.post(weak_from_this(), [this] { finishLaunching(); });
    m_collaborators.store.requestUpload(QStringLiteral("app_launch"));
    m_collaborators.autoDeleteCleanupService.runCleanup(
        QStringLiteral("app_launch"), std::nullopt, std::nullopt);
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
    m_observers.push_back(m_collaborators.notifications.observe(
        core::kStoreListenerError, [weak = weak_from_this()](const QVariantMap &userInfo) {
            if (const auto self = weak.lock()) {
                self->showDimseError(userInfo);
            }
        }));
}

void AppDelegate::observe(const QString &name, void (AppDelegate::*operation)())
{
    m_observers.push_back(m_collaborators.notifications.observe(
        name, [weak = weak_from_this(), operation](const QVariantMap &) {
            if (const auto self = weak.lock()) {
                (self.get()->*operation)();
            }
        }));
}

void AppDelegate::finishLaunching()
{
    m_collaborators.upkeep.checkInstallLocation();
    m_collaborators.upkeep.startUpdater();
    m_collaborators.upkeep.startVersionPolicy();
    if (core::isSetupRequired(m_collaborators.settings)) {
        presentWizard(true);
    }
    if (!core::isSetupRequired(m_collaborators.settings)) {
        m_collaborators.store.listenerService().startListener();
    }
}

void AppDelegate::startPeriodicCleanup()
{
    if (m_periodicAutoDeleteCleanupTask.isSet()) {
        return;
    }
    // The service only queues the work, so this thread does nothing but wait.
    m_periodicAutoDeleteCleanupTask =
        platform::Task("auto-delete",
                       [&clock = m_collaborators.clock,
                        &service = m_collaborators.autoDeleteCleanupService](const std::stop_token &stop) {
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
    m_collaborators.face.bringForward();
    m_collaborators.face.showSetupWizard(blocking);
}

/// While setup isn't finished, queues the wizard in place of what was asked for.
bool AppDelegate::landsInWizard()
{
    if (!core::isSetupRequired(m_collaborators.settings)) {
        return false;
    }
    m_collaborators.main.post(weak_from_this(), [this] { presentWizard(true); });
    return true;
}

void AppDelegate::openDashboard()
{
    if (!landsInWizard()) {
        m_collaborators.face.bringForward();
        m_collaborators.face.showDashboard();
    }
}

void AppDelegate::openSignIn()
{
    if (!landsInWizard()) {
        m_collaborators.face.bringForward();
        m_collaborators.face.showDashboard();
        m_collaborators.main.post(weak_from_this(), [this] { m_collaborators.face.showSignInSheet(); });
    }
}

void AppDelegate::openPreferences()
{
    if (!landsInWizard()) {
        m_collaborators.face.bringForward();
        m_collaborators.face.showPreferences();
    }
}

void AppDelegate::openBugReport()
{
    m_collaborators.main.post(weak_from_this(), [this] {
        if (!landsInWizard()) {
            m_collaborators.face.bringForward();
            m_collaborators.face.showBugReport();
        }
    });
}

void AppDelegate::showTermsRequired()
{
    m_collaborators.face.showTermsRequired();
}

void AppDelegate::openSetupWizard()
{
    m_collaborators.main.post(weak_from_this(),
                              [this] { presentWizard(core::isSetupRequired(m_collaborators.settings)); });
}

void AppDelegate::checkForUpdates()
{
    m_collaborators.main.post([self = shared_from_this()] {
        self->m_collaborators.upkeep.checkForUpdates(QStringLiteral("manual_menu"));
    });
}

void AppDelegate::showDimseError(const QVariantMap &userInfo)
{
    const bool isKnown = userInfo.value(receive::kListenerFailureIsKnownKey).toBool();
    if (isKnown || m_collaborators.face.isSetupWizardVisible() || m_collaborators.isApplyingSetup()) {
        return;
    }
    m_collaborators.face.showAlert(QCoreApplication::translate("Listener", "DIMSE Listener Error"),
                                   receive::listenerFailureText(userInfo).inLanguage());
}

void AppDelegate::enforceSetupWizardIfNeeded()
{
    if (core::isSetupRequired(m_collaborators.settings)) {
        presentWizard(true);
    }
}

void AppDelegate::reopen()
{
    if (core::isSetupRequired(m_collaborators.settings)) {
        presentWizard(true);
    } else {
        m_collaborators.face.bringForward();
        m_collaborators.face.reopen();
    }
}

} // namespace gateway::app
