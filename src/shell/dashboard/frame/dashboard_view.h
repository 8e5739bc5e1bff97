#pragma once

#include "platform/concurrency/task_scope.h"
#include "shell/dashboard/cards/dashboard_parts.h"
#include "shell/dashboard/frame/screen.h"

#include <QtCore/QPointer>
#include <QtWidgets/QWidget>

class QStackedWidget;
class QWindow;

namespace gateway::shell {

class DashboardHeader;
class DashboardSidebar;
class OverviewPage;
class Sheet;
class UpdateBanner;

/// The main window's content: a sidebar with two screens, the overview of live cards and the transfer log.
/// It keeps the chosen screen for as long as the program runs.
///
/// Owner: its window. Thread: main.
class DashboardView : public QWidget
{
    Q_OBJECT

public:
    explicit DashboardView(const DashboardParts &parts, QWidget *parent = nullptr);
    ~DashboardView() override;

    /// The title of the main window, and of every window that measures the storage when it gets the keyboard.
    static QString windowTitle();

    Screen selectedScreen() const { return m_selectedScreen; }
    void setSelectedScreen(Screen screen);

    /// Reads every figure anew.
    void refresh();

    OverviewPage &overview() { return *m_overview; }

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void layOut();
    void addShortcuts();
    void listen();
    void windowGotKeyboard(const QWindow *window);
    void showSignInSheet();
    void signInSheetClosed();

    const DashboardParts m_parts;
    Screen m_selectedScreen = Screen::overview;
    DashboardSidebar *m_sidebar;
    DashboardHeader *m_header;
    UpdateBanner *m_banner;
    QStackedWidget *m_screens;
    OverviewPage *m_overview;
    QWidget *m_logs;
    QPointer<Sheet> m_signInSheet; // made when it is first asked for
    platform::TaskScope m_scope;   // last: drained before the fields go
};

} // namespace gateway::shell
