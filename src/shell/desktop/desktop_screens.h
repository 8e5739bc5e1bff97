#pragma once

#include "account/gateway_bug_report_view_model.h"
#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "log/gateway_logs_view_model.h"
#include "platform/autostart/autostart.h"
#include "receive/dimse_listener_view_model.h"
#include "shell/browser/table_keeper.h"
#include "shell/desktop/attention_watch.h"
#include "shell/desktop/screen_models.h"
#include "shell/desktop/screen_rules.h"
#include "shell/notifying/freedesktop_messages.h"
#include "shell/notifying/notice_window.h"
#include "shell/tray/system_tray_item.h"

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
class GatewaySetupWizardWindowController;
class LocalStudiesWindowController;
class QuorinCloudStudiesWindowController;
class Sheet;
class StatusBarController;
class Theme;
class UpdateWindow;
struct BrowserParts;
struct DashboardParts;
struct MenuViewParts;
struct WizardParts;

/// Every window over the gateway's models, each made when it is first needed.
///
/// Owner: DesktopFace. Thread: main.
class DesktopScreens final : public Screens
{
    Q_DECLARE_TR_FUNCTIONS(DesktopScreens)

public:
    /// \param theme, models  outlive this.
    DesktopScreens(Theme &theme, const ScreenModels &models);
    ~DesktopScreens() override;

    DesktopScreens(const DesktopScreens &) = delete;
    DesktopScreens &operator=(const DesktopScreens &) = delete;

    /// Shows the status item; on a desktop without a place for it the dashboard follows, as the way in.
    void showStatusItem();

    void showDashboard();

    /// Null before it was first shown.
    QWidget *dashboardWindow() const;

    void showSignInSheet();

    /// Shows the preferences, unless required terms come right behind: they have a sheet of their own.
    void showPreferences();

    /// Asks for the terms and shows them over the dashboard.
    void showTerms();

    void showBugReport();
    void showSetup(bool blocking);

    /// \param updater  outlives this.
    void showUpdates(updates::AppcastUpdater &updater);
    bool isSetupVisible() const;
    void showNotice(const Notice &notice) { m_notices.show(notice); }

private:
    void presentPreferences() override;
    void presentTerms() override;
    void tellTermsProblem(const QString &why) override;

    StatusBarController &statusBar();
    DashboardWindowController &dashboard();
    GatewaySetupWizardWindowController &setupWizard();
    WizardParts wizardParts();
    account::GatewayQuorinCloudTermsParts termsParts() const;
    LocalStudiesWindowController &localStudies();
    QuorinCloudStudiesWindowController &cloudStudies();
    BrowserParts browserParts();
    MenuViewParts menuParts();
    DashboardParts dashboardParts();
    std::function<void()> wayToPanel();
    Sheet *makeTermsSheet(QWidget *window);
    void post(const QString &name) { m_models.runtime.notifications.post(name); }
    void sendFeedback();
    void showAbout();

    Theme &m_theme;
    const ScreenModels m_models;
    receive::DimseListenerViewModel m_listener; // one for all screens
    log::GatewayLogsViewModel m_logs;
    account::GatewayQuorinCloudTermsCoordinator m_terms;
    account::GatewayBugReportViewModel m_bugReport;
    platform::Autostart m_autostart;
    SystemTrayItem m_statusItem;
    Notices m_notices;
    FreedesktopMessages m_messages;
    Attention m_attention;
    AttentionWatch m_attentionWatch;
    std::unique_ptr<StatusBarController> m_statusBar;
    std::unique_ptr<DashboardWindowController> m_dashboard;
    TableKeeper m_tableKeeper;
    std::unique_ptr<LocalStudiesWindowController> m_localStudies;
    std::unique_ptr<QuorinCloudStudiesWindowController> m_cloudStudies;
    std::unique_ptr<GatewaySetupWizardWindowController> m_setupWizard;
    std::unique_ptr<BugReportWindow> m_bugReportWindow;
    std::unique_ptr<UpdateWindow> m_updateWindow;
    ScreenRules m_rules; // last: what it has under way ends before the fields go
};

} // namespace gateway::shell
