#pragma once

#include "account/account_view_model.h"
#include "account/gateway_bug_report_view_model.h"
#include "account/gateway_change_password_view_model.h"
#include "log/browsing/gateway_logs_view_model.h"
#include "platform/autostart/autostart.h"
#include "receive/dimse_listener_view_model.h"
#include "shell/browser/table_keeper.h"
#include "shell/desktop/attention_watch.h"
#include "shell/desktop/screen_models.h"
#include "shell/desktop/screen_rules.h"
#include "shell/notifying/freedesktop_messages.h"
#include "shell/notifying/notice_window.h"
#include "shell/preferences/appearance_choice.h"
#include "shell/tray/system_tray_item.h"
#include "upload/failure_watch.h"
#include "wizard/listener_settings_view_model.h"

#include <QtCore/QCoreApplication>

#include <functional>
#include <memory>

class QWidget;

namespace gateway::updates {
class AppcastUpdater;
}

namespace gateway::shell {
class BugReportWindow;
class DashboardWindowController;
class DesktopPreferences;
class GatewaySetupWizardWindowController;
class LocalStudiesWindowController;
class PreferencesWindowController;
class QuorinCloudStudiesWindowController;
class Sheet;
class StatusBarController;
class Theme;
class TrialWindow;
class UpdateWindow;
struct BrowserParts;
struct BugReportWindowParts;
struct DashboardParts;
struct MenuViewParts;
struct PreferencesParts;
struct WizardParts;

/// Every window over the gateway's models, each made when it is first needed.
///
/// Owner: DesktopFace. Thread: main.
class DesktopScreens final : public Screens
{
    Q_DECLARE_TR_FUNCTIONS(DesktopScreens)

public:
    /// All outlive this.
    DesktopScreens(Theme &theme, DesktopPreferences &desktop, const ScreenModels &models);
    ~DesktopScreens() override;

    DesktopScreens(const DesktopScreens &) = delete;
    DesktopScreens &operator=(const DesktopScreens &) = delete;

    /// Shows the status item; on a desktop without a place for it the dashboard follows, as the way in.
    void showStatusItem();

    void showDashboard();

    /// Null before it was first shown.
    QWidget *dashboardWindow() const;

    void showSignInSheet();
    Sheet *makeSignInSheet(QWidget *window);

    /// Shows the preferences, unless required terms come right behind, which lead there by themselves.
    void showPreferences();

    /// Asks for the terms that the cloud requires, and shows them in the preferences.
    void showTerms();

    void showBugReport();
    void showSetup(bool blocking);

    /// \param updater  outlives this.
    void showUpdates(updates::AppcastUpdater &updater);
    bool isSetupVisible() const;
    void showNotice(const Notice &notice) { m_notices.show(notice); }

private:
    void presentPreferences() override;
    void presentAccount() override;
    bool isSetupInTheWay() const override;

    StatusBarController &statusBar();
    DashboardWindowController &dashboard();
    PreferencesWindowController &preferences();
    PreferencesParts preferencesParts();
    GatewaySetupWizardWindowController &setupWizard();
    WizardParts wizardParts();
    account::GatewayQuorinCloudTermsParts termsParts() const;
    LocalStudiesWindowController &localStudies();
    QuorinCloudStudiesWindowController &cloudStudies();
    BrowserParts browserParts();
    MenuViewParts menuParts();
    DashboardParts dashboardParts();
    std::function<void()> wayToPanel();
    void post(const QString &name) { m_models.runtime.notifications.post(name); }
    std::function<void()> wayToSupport() const;
    BugReportWindowParts bugReportParts();
    void offerTrial();
    void showAbout();

    Theme &m_theme;
    const ScreenModels m_models;
    receive::DimseListenerViewModel m_listener; // one for all screens
    log::GatewayLogsViewModel m_logs;
    account::AccountViewModel m_account;
    account::GatewayChangePasswordViewModel m_password;
    wizard::ListenerSettingsViewModel m_listenerSettings;
    AppearanceChoice m_appearance;
    account::GatewayBugReportViewModel m_bugReport;
    platform::Autostart m_autostart;
    SystemTrayItem m_statusItem;
    Notices m_notices;
    FreedesktopMessages m_messages;
    Attention m_attention;
    AttentionWatch m_attentionWatch;
    upload::FailureWatch m_failures;
    std::unique_ptr<StatusBarController> m_statusBar;
    std::unique_ptr<DashboardWindowController> m_dashboard;
    TableKeeper m_tableKeeper;
    std::unique_ptr<LocalStudiesWindowController> m_localStudies;
    QObject m_followsImages; // while it lives, m_localStudies does
    std::unique_ptr<QuorinCloudStudiesWindowController> m_cloudStudies;
    std::unique_ptr<PreferencesWindowController> m_preferences;
    std::unique_ptr<GatewaySetupWizardWindowController> m_setupWizard;
    std::unique_ptr<TrialWindow> m_trialWindow;
    std::unique_ptr<BugReportWindow> m_bugReportWindow;
    std::unique_ptr<UpdateWindow> m_updateWindow;
    ScreenRules m_rules; // last: what it has under way ends before the fields go
};

} // namespace gateway::shell
