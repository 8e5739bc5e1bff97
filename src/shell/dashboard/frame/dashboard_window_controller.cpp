#include "shell/dashboard/frame/dashboard_window_controller.h"

#include "platform/concurrency/main_thread.h"
#include "shell/dashboard/frame/dashboard_view.h"

namespace gateway::shell {

DashboardWindowController::DashboardWindowController(const DashboardParts &parts)
    : m_controller(parts.runtime.defaults,
                   {QStringLiteral("dashboard"), DashboardView::windowTitle(), {1180, 860}, {1000, 700}},
                   [this, parts] {
                       m_view = new DashboardView(parts);
                       return m_view;
                   })
{
    platform::assertMainThread("DashboardWindowController");
}

void DashboardWindowController::show()
{
    m_controller.show();
}

void DashboardWindowController::showLogs()
{
    show();
    m_view->setSelectedScreen(Screen::logs);
}

DashboardView *DashboardWindowController::view() const
{
    return m_view;
}

} // namespace gateway::shell
