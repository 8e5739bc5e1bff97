#pragma once

#include "shell/dashboard/cards/dashboard_parts.h"
#include "shell/windows/window_controller.h"

#include <QtCore/QPointer>

namespace gateway::shell {

class DashboardView;

/// The main window, "Quorin Gateway". Its content is made at the first `show` and kept.
///
/// Owner: app. Thread: main.
class DashboardWindowController
{
public:
    explicit DashboardWindowController(const DashboardParts &parts);

    /// Shows the window, or raises the one that is there.
    void show();

    /// Shows the window with the transfer log in it.
    void showLogs();

    /// Null before the first `show`.
    QWidget *window() const { return m_controller.window(); }
    DashboardView *view() const;

private:
    QPointer<DashboardView> m_view;
    WindowController m_controller;
};

} // namespace gateway::shell
