#pragma once

#include "platform/concurrency/task_scope.h"
#include "platform/notifications/notification_center.h"
#include "shell/theme/tokens.h"

#include <QtWidgets/QWidget>

#include <functional>

class QHBoxLayout;

namespace gateway::account {
class QuorinAuthViewModel;
class QuorinCloudStatusViewModel;
} // namespace gateway::account

namespace gateway::receive {
class DimseListenerViewModel;
}

namespace gateway::state {
class GatewayAppState;
}

namespace gateway::shell {

class Button;
class FigureRow;
class PanelLine;
class StateLabel;
class Switch;
class TextLabel;
class Theme;

/// What the panel works with; all outlive it.
struct MenuViewParts
{
    /// What the panel asks for and no notification names.
    struct Actions
    {
        std::function<void()> manageAccount;
        std::function<void()> sendFeedback; ///< empty where nobody is named to write to
        std::function<void()> openAbout;
        std::function<void()> quit;
    };

    const Theme &theme;
    state::GatewayAppState &appState;
    account::QuorinAuthViewModel &auth;
    account::QuorinCloudStatusViewModel &quorinCloudStatus;
    receive::DimseListenerViewModel &dimseListener;
    platform::NotificationCenter &notifications; ///< windows are asked for through these
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    Actions actions;
};

/// The compact panel of live state, and the way into every window.
///
/// It is built once. What it shows it reads when it appears, and follows while it is seen.
///
/// Owner: StatusBarController. Thread: main.
class QuorinGatewayMenuView : public QWidget
{
    Q_OBJECT

public:
    explicit QuorinGatewayMenuView(const MenuViewParts &parts);
    ~QuorinGatewayMenuView() override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    QWidget *makeHeader();
    QWidget *makeBanner();
    QWidget *makeSession();
    QWidget *makeFigures();
    QWidget *makeListener();
    QWidget *makeFooter();
    Button *makeMore();
    void arrangeFooter();
    void listen();

    void refresh();

    void showAll();
    void showAccount();
    void showCloud();
    void showFigures();
    void showBanner();
    void showListener();

    const MenuViewParts m_parts;
    bool m_isAuthStatusLoading = true;

    QWidget *m_banner = nullptr;
    TextLabel *m_bannerText = nullptr;
    PanelLine *m_account = nullptr;
    Button *m_signIn = nullptr;
    Button *m_manage = nullptr;
    Button *m_signOut = nullptr;
    TextLabel *m_checking = nullptr;
    PanelLine *m_cloud = nullptr;
    FigureRow *m_received = nullptr;
    FigureRow *m_uploaded = nullptr;
    FigureRow *m_failed = nullptr;
    Switch *m_listener = nullptr;
    StateLabel *m_listenerState = nullptr;
    QHBoxLayout *m_footerAbove = nullptr;
    QHBoxLayout *m_footer = nullptr;
    Button *m_checkForUpdates = nullptr;
    Button *m_preferences = nullptr;
    Button *m_more = nullptr;
    platform::NotificationCenter::Token m_authObserver;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::shell
