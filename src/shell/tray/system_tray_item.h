#pragma once

#include "shell/tray/status_item.h"

#include <QtCore/QObject>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusServiceWatcher>
#include <QtWidgets/QMenu>
#include <QtWidgets/QSystemTrayIcon>

#include <memory>

namespace gateway::shell {

/// The status item in the system tray.
///
/// Qt decides once a process what kind of tray there is, at its first question. Where windows can't be placed
/// (Wayland) there is but the kind that the session bus knows, so the question waits until it does: a panel
/// that starts after the gateway gets its item all the same.
///
/// Owner: app. Thread: main.
class SystemTrayItem : public QObject, public StatusItem
{
    Q_OBJECT

public:
    /// \param session  the session bus; may be one that isn't connected.
    explicit SystemTrayItem(const QDBusConnection &session);
    ~SystemTrayItem() override;

    bool show(const Content &content) override;
    QRect geometry() const override;

private:
    bool mayAsk() const;
    void place();

    const QDBusConnection m_session;
    QDBusServiceWatcher m_watcher;
    Content m_content;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_icon; // made at the last moment
};

} // namespace gateway::shell
