#include "shell/desktop/desktop_screens.h"

#include "account/cloud_watch.h"
#include "account/quorin_auth_view_model.h"
#include "cloud_client/qrn_bug_report_api.h"
#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "core/deployment.h"
#include "core/home_layout.h"
#include "core/notification_names.h"
#include "core/settings.h"
#include "index/dicom_db.h"
#include "platform/concurrency/main_thread.h"
#include "platform/defaults/user_defaults.h"
#include "platform/process/app_image.h"
#include "receive/store_listener_service.h"
#include "receive/store_manual_import_service.h"
#include "shell/account/archive_sign_in_sheet.h"
#include "shell/account/sign_in_sheet.h"
#include "shell/browser/browser_window_controllers.h"
#include "shell/dashboard/frame/dashboard_window_controller.h"
#include "shell/desktop/feedback_mail.h"
#include "shell/preferences/preferences_parts.h"
#include "shell/preferences/preferences_window_controller.h"
#include "shell/report/bug_report_window.h"
#include "shell/theme/symbols.h"
#include "shell/theme/theme.h"
#include "shell/tray/quorin_gateway_menu_view.h"
#include "shell/tray/status_bar_controller.h"
#include "shell/updates/update_window.h"
#include "shell/wizard/gateway_setup_wizard_window_controller.h"
#include "shell/wizard/trial_window.h"
#include "state/gateway_app_state.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QStandardPaths>
#include <QtCore/QTimeZone>
#include <QtDBus/QDBusConnection>
#include <QtGui/QDesktopServices>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QFileDialog>

#include <utility>

namespace gateway::shell {

namespace {

QList<core::FailureClass> failureClassesIn(const index::FailedUploads &failures)
{
    QList<core::FailureClass> classes;
    for (const index::UploadFailureCount &known : failures.counts()) {
        classes.append(core::failureClassOf(known.failureClass));
    }
    return classes;
}

void quit()
{
    QCoreApplication::exit(); // not quit(), which windows may refuse
}

void openLink(const QUrl &page)
{
    QDesktopServices::openUrl(page);
}

bool openFolder(const QString &directory)
{
    return QDesktopServices::openUrl(QUrl::fromLocalFile(directory));
}

QString chooseExportFile(QWidget *parent, const QString &suggestedName)
{
    const QDir documents(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    QFileDialog dialog(parent,
                       DesktopScreens::tr("Export Table"),
                       documents.filePath(suggestedName),
                       DesktopScreens::tr("CSV files (*.csv)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("csv"));
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

/// Shows the dialog over its parent, with whom it goes.
void ask(QFileDialog &dialog, const WizardParts::Chosen &chosen)
{
    dialog.setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(&dialog, &QDialog::finished, dialog.parentWidget(), [&dialog, chosen](int result) {
        chosen(result == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString());
    });
    dialog.open();
}

void chooseFolder(QWidget *parent, const QString &title, const WizardParts::Chosen &chosen)
{
    auto *dialog = new QFileDialog(parent, title);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setLabelText(QFileDialog::Accept, DesktopScreens::tr("Choose"));
    ask(*dialog, chosen);
}

void chooseFile(QWidget *parent, const QString &title, const WizardParts::Chosen &chosen)
{
    auto *dialog = new QFileDialog(parent, title);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setLabelText(QFileDialog::Accept, DesktopScreens::tr("Choose"));
    ask(*dialog, chosen);
}

void chooseSummaryFile(QWidget *parent, const QString &suggestedName, const WizardParts::Chosen &chosen)
{
    auto *dialog = new QFileDialog(parent,
                                   DesktopScreens::tr("Export Setup Summary"),
                                   QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(DesktopScreens::tr("PDF documents (*.pdf)"));
    dialog->setDefaultSuffix(QStringLiteral("pdf"));
    dialog->setLabelText(QFileDialog::Accept, DesktopScreens::tr("Export"));
    dialog->selectFile(suggestedName);
    ask(*dialog, chosen);
}

void chooseAttachments(QWidget *parent, const std::function<void(const QStringList &)> &chosen)
{
    auto *dialog = new QFileDialog(parent, DesktopScreens::tr("Choose files"));
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(dialog, &QFileDialog::filesSelected, parent, chosen);
    dialog->open();
}

void chooseBundleFile(QWidget *parent, const QString &suggestedName, const WizardParts::Chosen &chosen)
{
    auto *dialog = new QFileDialog(parent,
                                   DesktopScreens::tr("Save Support Bundle"),
                                   QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setNameFilter(DesktopScreens::tr("Text files (*.txt)"));
    dialog->setDefaultSuffix(QStringLiteral("txt"));
    dialog->selectFile(suggestedName);
    ask(*dialog, chosen);
}

/// The session starts the gateway as it was started now.
platform::Autostart autostartOfThisProgram()
{
    QStringList command = QCoreApplication::arguments();
    // An AppImage runs from a folder that is there only while it runs.
    const QString appImage = platform::runningAppImage();
    command.first() = appImage.isEmpty()
                          ? QCoreApplication::applicationDirPath() + QStringLiteral("/quorin-gateway")
                          : appImage;
    return {QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation),
            {QGuiApplication::desktopFileName(), QStringLiteral("Quorin Gateway"), command}};
}

} // namespace

DesktopScreens::DesktopScreens(Theme &theme, DesktopPreferences &desktop, const ScreenModels &models)
    : m_theme(theme), m_models(models), m_listener({models.runtime.defaults,
                                                    models.runtime.settings,
                                                    models.runtime.notifications,
                                                    models.images.listener,
                                                    models.runtime.layout.incomingFolder}),
      m_logs({models.runtime.defaults, models.runtime.main, models.runtime.pool, models.runtime.clock},
             models.runtime.layout.logFolder),
      m_account({models.cloud.auth, models.cloud.user, termsParts()},
                account::TermsSigner::here(QStringLiteral(QUORIN_VERSION))),
      m_password({models.cloud.user, models.runtime.main, models.runtime.networkPool}),
      m_listenerSettings(models.setup, models.runtime.notifications),
      m_appearance(theme, desktop, models.runtime.defaults, models.runtime.notifications),
      m_bugReport({models.cloud.bugReports,
                   models.runtime.defaults,
                   models.runtime.main,
                   models.runtime.networkPool,
                   models.cloud.collectSupportBundle}),
      m_autostart(autostartOfThisProgram()), m_statusItem(QDBusConnection::sessionBus()), m_notices(theme),
      m_messages(QDBusConnection::sessionBus()), m_attention(m_messages, models.runtime.clock),
      m_attentionWatch(
          {.notifications = models.runtime.notifications,
           .appState = models.images.appState,
           .auth = models.cloud.auth,
           .cloudStorage = models.cloud.watch.storage(),
           .main = models.runtime.main,
           .pool = models.runtime.pool,
           .clock = models.runtime.clock,
           .failureClasses = [&index =
                                  models.images.index] { return failureClassesIn(index.failedUploads()); },
           .attention = m_attention}),
      m_failures({.main = models.runtime.main,
                  .pool = models.runtime.pool,
                  .clock = models.runtime.clock,
                  .read =
                      [&index = models.images.index] {
                          return upload::failureFigures(index.failedUploads().counts());
                      }}),
      m_tableKeeper(models.runtime.main), m_rules({.screens = *this,
                                                   .notifications = models.runtime.notifications,
                                                   .main = models.runtime.main,
                                                   .appState = models.images.appState,
                                                   .cloudWatch = models.cloud.watch,
                                                   .account = m_account})
{
    platform::assertMainThread("DesktopScreens");
}

DesktopScreens::~DesktopScreens() = default;

StatusBarController &DesktopScreens::statusBar()
{
    if (m_statusBar == nullptr) {
        m_statusBar = std::make_unique<StatusBarController>(
            StatusBarController::Parts{.theme = m_theme,
                                       .clock = m_models.runtime.clock,
                                       .statusItem = m_statusItem,
                                       .openDashboard = [this] { post(core::kOpenDashboard); },
                                       .quit = quit},
            std::make_unique<QuorinGatewayMenuView>(menuParts()));
    }
    return *m_statusBar;
}

DashboardWindowController &DesktopScreens::dashboard()
{
    if (m_dashboard == nullptr) {
        m_dashboard = std::make_unique<DashboardWindowController>(dashboardParts());
    }
    return *m_dashboard;
}

PreferencesWindowController &DesktopScreens::preferences()
{
    if (m_preferences == nullptr) {
        m_preferences =
            std::make_unique<PreferencesWindowController>(m_models.runtime.defaults, preferencesParts());
    }
    return *m_preferences;
}

PreferencesParts DesktopScreens::preferencesParts()
{
    return {.theme = m_theme,
            .appearance = m_appearance,
            .account = {.model = m_account,
                        .password = m_password,
                        .hasProfile = m_models.cloud.keepsProfiles,
                        .archive = m_models.cloud.archive,
                        .cloud = m_models.cloud.choice,
                        .storePage = m_models.runtime.deployment.storePage},
            .listener = {.state = m_listener, .settings = m_listenerSettings},
            .kept = {.settings = m_models.runtime.settings,
                     .defaults = m_models.runtime.defaults,
                     .main = m_models.runtime.main},
            .actions = {.openSetupWizard = [this] { post(core::kOpenSetupWizard); },
                        .chooseFolder =
                            [](QWidget *parent, const WizardParts::Chosen &chosen) {
                                chooseFolder(parent, tr("Select Destination Folder"), chosen);
                            },
                        .chooseFile = chooseFile,
                        .openLink = openLink,
                        .termsAccepted = [this] { m_rules.termsAccepted(); }}};
}

GatewaySetupWizardWindowController &DesktopScreens::setupWizard()
{
    if (m_setupWizard == nullptr) {
        m_setupWizard = std::make_unique<GatewaySetupWizardWindowController>(wizardParts());
    }
    return *m_setupWizard;
}

WizardParts DesktopScreens::wizardParts()
{
    return {.theme = m_theme,
            .setup = m_models.setup,
            .auth = m_models.cloud.auth,
            .archive = m_models.cloud.archive,
            .cloud = m_models.cloud.choice,
            .terms = termsParts(),
            .autostart = m_autostart,
            .dialogs = {.chooseFolder =
                            [](QWidget *parent, const WizardParts::Chosen &chosen) {
                                chooseFolder(parent, tr("Select Incoming Files Folder"), chosen);
                            },
                        .chooseExportFile = chooseSummaryFile,
                        .chooseFile = chooseFile,
                        .openLink = openLink},
            .storePage = m_models.runtime.deployment.storePage,
            .actions = {.completed = [this] { post(core::kOpenDashboard); },
                        .offerTrial = [this] { offerTrial(); },
                        .tellProblem =
                            [this](const QString &problem) {
                                showNotice({QStringLiteral("exclamationmark.triangle.fill"),
                                            Color::amber,
                                            tr("Setup Is Finished"),
                                            problem});
                            },
                        .quit = quit}};
}

account::GatewayQuorinCloudTermsParts DesktopScreens::termsParts() const
{
    return {m_models.cloud.terms,
            m_models.runtime.defaults,
            m_models.runtime.main,
            m_models.runtime.networkPool,
            m_models.runtime.clock};
}

LocalStudiesWindowController &DesktopScreens::localStudies()
{
    if (m_localStudies == nullptr) {
        m_localStudies = std::make_unique<LocalStudiesWindowController>(
            browserParts(),
            LocalBrowserDoor{m_models.browsers.local,
                             m_models.browsers.sendNow,
                             openFolder,
                             [this](const QStringList &hashes) {
                                 m_logs.setImageHashes(hashes);
                                 dashboard().showLogs();
                             }});
        QObject::connect(&m_models.images.appState,
                         &state::GatewayAppState::published,
                         &m_followsImages,
                         [this](state::GatewayField field) {
                             if (field == state::GatewayField::receivedImagesCount) {
                                 m_localStudies->imagesChanged();
                             }
                         });
    }
    return *m_localStudies;
}

QuorinCloudStudiesWindowController &DesktopScreens::cloudStudies()
{
    if (m_cloudStudies == nullptr) {
        m_cloudStudies = std::make_unique<QuorinCloudStudiesWindowController>(
            browserParts(),
            CloudBrowserDoor{m_models.browsers.cloud, m_models.cloud.auth, [this](QWidget *window) {
                                 return makeSignInSheet(window);
                             }});
    }
    return *m_cloudStudies;
}

Sheet *DesktopScreens::makeSignInSheet(QWidget *window)
{
    account::QuorinAuthViewModel &auth = m_models.cloud.auth;
    if (account::ArchiveSignInViewModel *archive = m_models.cloud.archive) {
        return new ArchiveSignInSheet({m_theme, *archive, auth, openLink, chooseFile}, window);
    }
    return new SignInSheet(m_theme, auth, window);
}

BrowserParts DesktopScreens::browserParts()
{
    return {.theme = m_theme,
            .defaults = m_models.runtime.defaults,
            .main = m_models.runtime.main,
            .pool = m_models.runtime.pool,
            .keeper = m_tableKeeper,
            .chooseFile = chooseExportFile};
}

MenuViewParts DesktopScreens::menuParts()
{
    return {.theme = m_theme,
            .appState = m_models.images.appState,
            .auth = m_models.cloud.auth,
            .quorinCloudStatus = m_models.cloud.watch.status(),
            .dimseListener = m_listener,
            .notifications = m_models.runtime.notifications,
            .main = m_models.runtime.main,
            .pool = m_models.runtime.pool,
            .actions = {.manageAccount = [this] { m_rules.accountAskedFor(); },
                        .sendFeedback = wayToSupport(),
                        .openAbout = [this] { showAbout(); },
                        .quit = quit}};
}

DashboardParts DesktopScreens::dashboardParts()
{
    return {.theme = m_theme,
            .appState = m_models.images.appState,
            .receiving = {.listener = m_listener, .imports = m_models.images.manualImports},
            .cloud = {.auth = m_models.cloud.auth,
                      .status = m_models.cloud.watch.status(),
                      .storage = m_models.cloud.watch.storage(),
                      .failures = m_failures,
                      .makeSignInSheet = [this](QWidget *window) { return makeSignInSheet(window); }},
            .logs = {.model = m_logs, .openFolder = openFolder},
            .runtime = {.defaults = m_models.runtime.defaults,
                        .main = m_models.runtime.main,
                        .pool = m_models.runtime.pool,
                        .clock = m_models.runtime.clock,
                        .timeZone = [] { return QTimeZone::systemTimeZone(); }},
            .actions = {.openPreferences = [this] { post(core::kOpenPreferences); },
                        .openLocalStudies = [this] { localStudies().show(); },
                        .openFailedStudies = [this] { localStudies().showFailures(); },
                        .openQuorinCloud = [this] { cloudStudies().show(); },
                        .checkForUpdates = [this] { post(core::kCheckForUpdatesRequested); },
                        .openPanel = wayToPanel()}};
}

/// A desktop that shows no status item needs another way to what the panel offers, quitting among it.
std::function<void()> DesktopScreens::wayToPanel()
{
    if (statusBar().hasStatusItem()) {
        return {};
    }
    return [this] { statusBar().togglePopover(); };
}

void DesktopScreens::showStatusItem()
{
    m_rules.statusItemShown(statusBar().hasStatusItem());
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
    m_rules.signInAskedFor();
}

void DesktopScreens::showPreferences()
{
    m_rules.preferencesAskedFor();
}

void DesktopScreens::showTerms()
{
    m_rules.termsRequired();
}

void DesktopScreens::presentPreferences()
{
    preferences().show();
}

void DesktopScreens::presentAccount()
{
    preferences().show(GatewaySettingsItem::account);
}

bool DesktopScreens::isSetupInTheWay() const
{
    return isSetupVisible() || core::isSetupRequired(m_models.runtime.settings);
}

void DesktopScreens::showBugReport()
{
    if (m_bugReportWindow == nullptr) {
        m_bugReportWindow = std::make_unique<BugReportWindow>(bugReportParts());
    }
    m_bugReportWindow->present();
}

BugReportWindowParts DesktopScreens::bugReportParts()
{
    const QString support = m_models.runtime.deployment.supportEmail;
    BugReportWindowParts::Ways ways{.isServiceThere = m_models.cloud.takesBugReports};
    if (!support.isEmpty()) {
        ways.writeToSupport = [support](const QString &text) {
            QDesktopServices::openUrl(bugReportMail(support, text));
        };
    }
    return {.theme = m_theme,
            .model = m_bugReport,
            .main = m_models.runtime.main,
            .pool = m_models.runtime.networkPool,
            .ways = ways,
            .dialogs = {.chooseFiles = chooseAttachments, .chooseBundleFile = chooseBundleFile},
            .sent = [this] {
                showNotice({QStringLiteral("checkmark.circle.fill"),
                            Color::green,
                            tr("Bug Report Sent"),
                            tr("Report has been sent successfully.")});
            }};
}

void DesktopScreens::showSetup(bool blocking)
{
    setupWizard().show(blocking);
}

void DesktopScreens::showUpdates(updates::AppcastUpdater &updater)
{
    if (m_updateWindow == nullptr) {
        m_updateWindow = std::make_unique<UpdateWindow>(m_theme, updater);
    }
    m_updateWindow->present();
}

bool DesktopScreens::isSetupVisible() const
{
    return m_setupWizard != nullptr && m_setupWizard->window() != nullptr;
}

void DesktopScreens::offerTrial()
{
    if (m_trialWindow == nullptr) {
        m_trialWindow = std::make_unique<TrialWindow>(m_theme, m_models.trial, m_models.cloud.archive);
    }
    m_trialWindow->present();
}

std::function<void()> DesktopScreens::wayToSupport() const
{
    const QString address = m_models.runtime.deployment.supportEmail;
    if (address.isEmpty()) {
        return {};
    }
    return [address] { QDesktopServices::openUrl(feedbackMail(address)); };
}

void DesktopScreens::showAbout()
{
    showNotice({applicationSymbol(kApplicationSymbol),
                Color::blue,
                tr("Quorin Gateway"),
                tr("Version %1\n\nTakes images over the DICOM network, keeps them safe, and sends them to "
                   "the cloud.")
                    .arg(QStringLiteral(QUORIN_VERSION))});
}

} // namespace gateway::shell
