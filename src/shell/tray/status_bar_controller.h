#pragma once

#include "shell/tray/popover.h"
#include "shell/tray/status_item.h"

#include <QtCore/QString>

#include <functional>
#include <memory>

namespace gateway::shell {

class Theme;

/// The symbol of the status item and of the panel's head: the application's own sign, or a cloud where that
/// can't be loaded.
QString applicationSymbol(QStringView asset);

/// The status item and the panel that it opens.
///
/// Owner: app, from the launch to the end of the process. Thread: main.
class StatusBarController
{
public:
    struct Parts
    {
        const Theme &theme;
        const platform::Clock &clock;
        StatusItem &statusItem;
        std::function<void()> openDashboard;
        std::function<void()> quit;
    };

    /// Shows the item.
    ///
    /// \param panel  what the popover holds, built once.
    StatusBarController(const Parts &parts, std::unique_ptr<QWidget> panel);

    /// Whether the desktop shows the item; without one the panel still opens when it is asked for.
    bool hasStatusItem() const { return m_hasStatusItem; }

    /// Opens the panel, or closes it.
    void togglePopover();

    const QWidget &popover() const { return *m_popover; }

private:
    const Parts m_parts;
    std::unique_ptr<Popover> m_popover;
    bool m_hasStatusItem = false;
};

} // namespace gateway::shell
