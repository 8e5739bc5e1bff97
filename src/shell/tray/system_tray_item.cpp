#include "shell/tray/system_tray_item.h"

#include "platform/concurrency/main_thread.h"
#include <QtDBus/QDBusConnectionInterface>
#include <QtGui/QGuiApplication>

namespace gateway::shell {

namespace {

const QString kTrayService = QStringLiteral("org.kde.StatusNotifierWatcher");

} // namespace

SystemTrayItem::SystemTrayItem(const QDBusConnection &session)
    : m_session(session), m_watcher(kTrayService, session, QDBusServiceWatcher::WatchForRegistration)
{
    platform::assertMainThread("SystemTrayItem");
    connect(&m_watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] {
        if (m_icon == nullptr && m_content.clicked) {
            place();
        }
    });
}

SystemTrayItem::~SystemTrayItem() = default;

bool SystemTrayItem::mayAsk() const
{
    if (!QGuiApplication::platformName().startsWith(QStringLiteral("wayland"))) {
        return true;
    }
    return m_session.isConnected() && m_session.interface()->isServiceRegistered(kTrayService);
}

bool SystemTrayItem::show(const Content &content)
{
    m_content = content;
    if (!mayAsk() || !QSystemTrayIcon::isSystemTrayAvailable()) {
        return false;
    }
    place();
    return true;
}

void SystemTrayItem::place()
{
    m_menu = std::make_unique<QMenu>();
    m_menu->addAction(tr("Show Panel"), this, [this] { m_content.clicked(); });
    m_menu->addAction(tr("Open Dashboard"), this, [this] { m_content.openDashboard(); });
    m_menu->addSeparator();
    m_menu->addAction(tr("Quit Quorin Gateway"), this, [this] { m_content.quit(); });
    m_icon = std::make_unique<QSystemTrayIcon>(m_content.icon);
    m_icon->setToolTip(m_content.description);
    m_icon->setContextMenu(m_menu.get());
    connect(
        m_icon.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger) {
                m_content.clicked();
            }
        });
    m_icon->show();
}

QRect SystemTrayItem::geometry() const
{
    return m_icon == nullptr ? QRect() : m_icon->geometry();
}

} // namespace gateway::shell
