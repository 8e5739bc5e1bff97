#include "app/desktop_screens.h"

#include "core/notification_names.h"
#include "core/support_email.h"
#include "shell/account/sign_in_sheet.h"
#include "shell/account/terms_sheet.h"
#include "shell/dashboard/dashboard_window_controller.h"
#include "shell/desktop/feedback_mail.h"
#include "shell/report/bug_report_window.h"
#include "shell/setup/setup_dialog.h"
#include "shell/theme/symbols.h"
#include "shell/theme/theme.h"
#include "shell/tray/quorin_gateway_menu_view.h"
#include "shell/tray/status_bar_controller.h"
#include "wizard/setup_apply.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QStandardPaths>
#include <QtCore/QTimeZone>
#include <QtDBus/QDBusConnection>
#include <QtGui/QDesktopServices>
#include <QtGui/QGuiApplication>

#include <utility>

namespace gateway::app {

namespace {

QList<core::FailureClass> failureClassesIn(const index::DicomDB &index)
{
    QList<core::FailureClass> classes;
    for (const index::UploadFailureCount &known : index.uploadFailureCounts()) {
        classes.append(core::failureClassOf(known.failureClass));
    }
    return classes;
}

void quit()
{
    QCoreApplication::exit(); // not quit(), which windows may refuse
}

/// The session starts the gateway as it was started now.
platform::Autostart autostartOfThisProgram()
{
    QStringList command = QCoreApplication::arguments();
    command.first() = QCoreApplication::applicationDirPath() + QStringLiteral("/quorin-gateway");
    return {QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation),
            {QGuiApplication::desktopFileName(), QStringLiteral("Quorin Gateway"), command}};
}

} // namespace

DesktopScreens::DesktopScreens(shell::Theme &theme, const ScreenModels &models)
    : m_theme(theme), m_with(models), m_listener({models.defaults,
                                                  models.settings,
                                                  models.notifications,
                                                  models.store.listenerService(),
                                                  models.layout.incomingFolder}),
      m_logs({models.defaults, models.main, models.pool, models.clock}, models.layout.logFolder),
      m_terms({models.terms, models.defaults, models.main, models.networkPool, models.clock},
              account::TermsSigner::here(QStringLiteral(QUORIN_VERSION))),
      m_bugReport({models.bugReports, models.defaults, models.main, models.networkPool}),
      m_autostart(autostartOfThisProgram()), m_statusItem(QDBusConnection::sessionBus()), m_notices(theme),
      m_messages(QDBusConnection::sessionBus()), m_attention(m_messages, models.clock),
      m_attentionWatch({models.notifications,
                        models.appState,
                        models.auth,
                        models.cloudWatch.storage(),
                        models.main,
                        models.pool,
                        models.clock,
                        [&index = models.index] { return failureClassesIn(index); },
                        m_attention}),
      m_scope(models.main, models.networkPool)
{
}

DesktopScreens::~DesktopScreens() = default;

shell::StatusBarController &DesktopScreens::statusBar()
{
    if (m_statusBar == nullptr) {
        m_statusBar = std::make_unique<shell::StatusBarController>(
            shell::StatusBarController::Parts{
                m_theme, m_with.clock, m_statusItem, [this] { post(core::kOpenDashboard); }, quit},
            std::make_unique<shell::QuorinGatewayMenuView>(menuParts()));
    }
    return *m_statusBar;
}

shell::DashboardWindowController &DesktopScreens::dashboard()
{
    if (m_dashboard == nullptr) {
        m_dashboard = std::make_unique<shell::DashboardWindowController>(dashboardParts());
    }
    return *m_dashboard;
}

shell::SetupDialog &DesktopScreens::setupDialog()
{
    if (m_setupDialog == nullptr) {
        m_setupDialog = std::make_unique<shell::SetupDialog>(shell::SetupDialogParts{
            m_theme,
            m_with.main,
            m_with.pool,
            [this] { return wizard::storedDraft(m_with.settings, m_with.defaults); },
            [this](wizard::SetupDraft draft) { return m_with.setup.apply(std::move(draft)); },
            m_autostart,
            [this] { post(core::kOpenDashboard); },
            quit});
    }
    return *m_setupDialog;
}

shell::MenuViewParts DesktopScreens::menuParts()
{
    return {m_theme,
            m_with.appState,
            m_with.auth,
            m_with.cloudWatch.status(),
            m_listener,
            m_with.notifications,
            m_with.main,
            m_with.pool,
            {[this] { sendFeedback(); }, [this] { showAbout(); }, quit}};
}

shell::DashboardParts DesktopScreens::dashboardParts()
{
    return {
        m_theme,
        m_with.appState,
        m_with.auth,
        m_with.cloudWatch.status(),
        m_with.cloudWatch.storage(),
        m_listener,
        m_with.store.manualImportService(),
        m_logs,
        m_with.defaults,
        m_with.main,
        m_with.pool,
        m_with.clock,
        [] { return QTimeZone::systemTimeZone(); },
        [](const QString &directory) { return QDesktopServices::openUrl(QUrl::fromLocalFile(directory)); },
        {.openPreferences = [this] { post(core::kOpenPreferences); },
         .openLocalStudies = {},
         .openQuorinCloud = {},
         .checkForUpdates = [this] { post(core::kCheckForUpdatesRequested); },
         .openPanel = wayToPanel()},
        [this](QWidget *window) { return new shell::SignInSheet(m_theme, m_with.auth, window); },
        [this](QWidget *window) { return makeTermsSheet(window); }};
}

/// A desktop that shows no status item needs another way to what the panel offers, quitting among it.
std::function<void()> DesktopScreens::wayToPanel()
{
    if (statusBar().hasStatusItem()) {
        return {};
    }
    return [this] { statusBar().togglePopover(); };
}

/// What follows an answer: declining ends the session.
shell::Sheet *DesktopScreens::makeTermsSheet(QWidget *window)
{
    auto *sheet = new shell::TermsSheet(m_theme, m_terms, window);
    QObject::connect(sheet, &shell::TermsSheet::accepted, sheet, [this] { m_with.cloudWatch.checkTerms(); });
    QObject::connect(
        sheet, &shell::TermsSheet::declined, sheet, [this] { m_scope.start(m_with.auth.signOut()); });
    return sheet;
}

void DesktopScreens::showStatusItem()
{
    if (!statusBar().hasStatusItem()) {
        m_with.main.post(m_life, [this] { m_with.delegate.openDashboard(); });
    }
}

void DesktopScreens::showDashboard()
{
    dashboard().show();
}

QWidget *DesktopScreens::dashboardWindow() const
{
    return m_dashboard != nullptr ? m_dashboard->window() : nullptr;
}

void DesktopScreens::showSignInSheet()
{
    m_with.appState.setShowSignInSheet(true);
}

void DesktopScreens::showPreferences()
{
    m_arePreferencesDue = true;
    m_with.main.post(m_life, [this] {
        if (std::exchange(m_arePreferencesDue, false)) {
            setupDialog().present(false);
        }
    });
}

void DesktopScreens::showTerms()
{
    m_arePreferencesDue = false;
    m_scope.start(loadTerms());
}

QCoro::Task<void> DesktopScreens::loadTerms()
{
    co_await m_terms.refreshStatus();
    if (m_terms.showTerms()) {
        dashboard().showTerms();
    } else if (m_terms.errorMessage()) {
        showNotice({QStringLiteral("exclamationmark.triangle.fill"),
                    shell::Color::amber,
                    tr("Terms Can't Be Shown"),
                    *m_terms.errorMessage()});
    }
}

void DesktopScreens::showBugReport()
{
    if (m_bugReportWindow == nullptr) {
        m_bugReportWindow = std::make_unique<shell::BugReportWindow>(
            shell::BugReportWindowParts{m_theme, m_bugReport, m_with.main, m_with.networkPool, [this] {
                                            showNotice({QStringLiteral("checkmark.circle.fill"),
                                                        shell::Color::green,
                                                        tr("Bug Report Sent"),
                                                        tr("Report has been sent successfully.")});
                                        }});
    }
    m_bugReportWindow->present();
}

void DesktopScreens::showSetup(bool blocking)
{
    setupDialog().present(blocking);
}

bool DesktopScreens::isSetupVisible() const
{
    return m_setupDialog != nullptr && m_setupDialog->isVisible();
}

void DesktopScreens::sendFeedback()
{
    const QString address = m_with.defaults.object(core::kSupportEmailKey).value_or(QVariant()).toString();
    QDesktopServices::openUrl(shell::feedbackMail(address));
}

void DesktopScreens::showAbout()
{
    showNotice({shell::applicationSymbol(shell::kApplicationSymbol),
                shell::Color::blue,
                tr("Quorin Gateway"),
                tr("Version %1\n\nTakes images over the DICOM network, keeps them safe, and sends them to "
                   "the cloud.")
                    .arg(QStringLiteral(QUORIN_VERSION))});
}

} // namespace gateway::app
