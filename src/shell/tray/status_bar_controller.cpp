#include "shell/tray/status_bar_controller.h"

#include "platform/concurrency/main_thread.h"
#include "shell/theme/symbols.h"
#include "shell/theme/theme.h"

#include <QtCore/QCoreApplication>

namespace gateway::shell {

QString applicationSymbol(QStringView asset)
{
    return symbolFile(asset).isEmpty() ? QStringLiteral("cloud.fill") : asset.toString();
}

StatusBarController::StatusBarController(const Parts &parts, std::unique_ptr<QWidget> panel)
    : m_parts(parts), m_popover(std::make_unique<Popover>(parts.theme, parts.clock, panel.release()))
{
    platform::assertMainThread("StatusBarController");
    // One colour that reads on light and dark bars, whatever the gateway does.
    m_hasStatusItem =
        parts.statusItem.show({parts.theme.icon(applicationSymbol(kApplicationSymbol), Color::blue),
                               QCoreApplication::translate("StatusBarController", "Quorin Gateway"),
                               [this] { togglePopover(); },
                               parts.openDashboard,
                               parts.quit});
}

void StatusBarController::togglePopover()
{
    if (m_popover->isVisible()) {
        m_popover->close();
    } else if (!m_popover->hasJustGone()) {
        m_popover->open(m_parts.statusItem.geometry());
    }
}

} // namespace gateway::shell
