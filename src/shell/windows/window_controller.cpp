#include "shell/windows/window_controller.h"

#include "platform/concurrency/main_thread.h"
#include "platform/defaults/user_defaults.h"
#include "shell/windows/screen_room.h"
#include "shell/windows/shell_window.h"

#include <utility>

namespace gateway::shell {

WindowController::WindowController(platform::UserDefaults &defaults, Frame frame, MakeContent makeContent)
    : m_defaults(defaults), m_frame(std::move(frame)), m_makeContent(std::move(makeContent))
{
    platform::assertMainThread("WindowController");
}

WindowController::~WindowController()
{
    if (m_window != nullptr) {
        if (m_window->isVisible()) {
            rememberPlace();
        }
        m_window->disconnect();
    }
}

void WindowController::show()
{
    if (m_window == nullptr) {
        m_window = std::make_unique<ShellWindow>(m_frame.title, m_makeContent());
        QObject::connect(m_window.get(), &ShellWindow::leaving, m_window.get(), [this] { rememberPlace(); });
        if (!m_frame.isKept) {
            QObject::connect(m_window.get(), &ShellWindow::closed, m_window.get(), [this] { dropWindow(); });
        }
        place();
    }
    m_window->setWindowState((m_window->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

/// It is in the middle of its own event, and goes behind it.
void WindowController::dropWindow()
{
    rememberPlace();
    m_window->disconnect();
    m_window.release()->deleteLater();
}

QWidget *WindowController::window() const
{
    return m_window.get();
}

QString WindowController::geometryKey() const
{
    return QStringLiteral("QuorinGateway.window.%1.geometry").arg(m_frame.name);
}

void WindowController::place()
{
    const QRect room = roomForContent();
    m_window->setMinimumSize(m_frame.leastSize.boundedTo(room.size()));
    QRect place(QPoint(), m_frame.contentSize.boundedTo(room.size()));
    place.moveCenter(room.center());
    m_window->setGeometry(place);
    const std::optional<QVariant> stored = m_defaults.object(geometryKey());
    if (stored && stored->typeId() == QMetaType::QByteArray) {
        m_window->restoreGeometry(stored->toByteArray()); // keeps to the screens that are there now
    }
}

void WindowController::rememberPlace()
{
    const QByteArray geometry = m_window->saveGeometry();
    if (m_defaults.object(geometryKey()) != QVariant(geometry)) {
        m_defaults.setObject(geometryKey(), geometry);
    }
}

} // namespace gateway::shell
