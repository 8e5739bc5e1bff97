#pragma once

#include "account/gateway_bug_report_view_model.h"
#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "app/gateway.h"
#include "log/gateway_logs_view_model.h"
#include "platform/autostart/autostart.h"
#include "platform/concurrency/task_scope.h"
#include "receive/dimse_listener_view_model.h"
#include "shell/desktop/attention_watch.h"
#include "shell/notifying/freedesktop_messages.h"
#include "shell/notifying/notice_window.h"
#include "shell/tray/system_tray_item.h"

#include <QCoro/QCoroTask>

#include <QtCore/QCoreApplication>

#include <functional>
#include <memory>

class QWidget;

namespace gateway::shell {
class BugReportWindow;
class DashboardWindowController;
class SetupDialog;
class Sheet;
class StatusBarController;
class Theme;
struct DashboardParts;
struct MenuViewParts;
} // namespace gateway::shell

namespace gateway::app {

/// Every window over the gateway's models, each made when it is first needed.
///
/// Owner: DesktopFace. Thread: main.
class DesktopScreens
{
    Q_DECLARE_TR_FUNCTIONS(DesktopScreens)

public:
    /// \param theme, models  outlive this.
    DesktopScreens(shell::Theme &theme, const ScreenModels &models);
    ~DesktopScreens();

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
    bool isSetupVisible() const;
    void showNotice(const shell::Notice &notice) { m_notices.show(notice); }

private:
    shell::StatusBarController &statusBar();
    shell::DashboardWindowController &dashboard();
    shell::SetupDialog &setupDialog();
    shell::MenuViewParts menuParts();
    shell::DashboardParts dashboardParts();
    std::function<void()> wayToPanel();
    shell::Sheet *makeTermsSheet(QWidget *window);
    QCoro::Task<> loadTerms();
    void post(const QString &name) { m_with.notifications.post(name); }
    void sendFeedback();
    void showAbout();

    shell::Theme &m_theme;
    const ScreenModels m_with;
    receive::DimseListenerViewModel m_listener; // one for all screens
    log::GatewayLogsViewModel m_logs;
    account::GatewayQuorinCloudTermsCoordinator m_terms;
    account::GatewayBugReportViewModel m_bugReport;
    platform::Autostart m_autostart;
    shell::SystemTrayItem m_statusItem;
    shell::Notices m_notices;
    shell::FreedesktopMessages m_messages;
    shell::Attention m_attention;
    shell::AttentionWatch m_attentionWatch;
    std::unique_ptr<shell::StatusBarController> m_statusBar;
    std::unique_ptr<shell::DashboardWindowController> m_dashboard;
    std::unique_ptr<shell::SetupDialog> m_setupDialog;
    std::unique_ptr<shell::BugReportWindow> m_bugReportWindow;
    bool m_arePreferencesDue = false;
    std::shared_ptr<const bool> m_life = std::make_shared<const bool>(true);
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::app
