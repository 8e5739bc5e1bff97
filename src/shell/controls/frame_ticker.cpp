#include "shell/controls/frame_ticker.h"

#include "platform/concurrency/main_thread.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtWidgets/QWidget>

namespace gateway::shell {

FrameTicker::FrameTicker(const Theme &theme, QWidget &widget) : m_theme(theme), m_widget(widget)
{
    platform::assertMainThread("FrameTicker");
    m_timer.setInterval(kInterval);
    connect(&m_timer, &QTimer::timeout, this, &FrameTicker::frame);
    connect(&theme, &Theme::themeChanged, this, &FrameTicker::settle);
    widget.installEventFilter(this);
}

void FrameTicker::setWanted(bool wanted)
{
    m_isWanted = wanted;
    settle();
}

std::chrono::milliseconds FrameTicker::elapsed() const
{
    return std::chrono::milliseconds(isTicking() ? m_since.elapsed() : 0);
}

bool FrameTicker::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show) {
        watchWindow();
    }
    if (event->type() == QEvent::Show || event->type() == QEvent::Hide ||
        event->type() == QEvent::WindowStateChange) {
        settle();
    }
    return QObject::eventFilter(watched, event);
}

void FrameTicker::watchWindow()
{
    // Installing a filter twice keeps one.
    m_widget.window()->installEventFilter(this);
}

void FrameTicker::settle()
{
    const bool isSeen = m_widget.isVisible() && !m_widget.window()->isMinimized();
    const bool ticks = m_isWanted && isSeen && !m_theme.reducedMotion();
    if (ticks == m_timer.isActive()) {
        return;
    }
    if (ticks) {
        m_since.start();
        m_timer.start();
    } else {
        m_timer.stop();
        Q_EMIT rested();
    }
}

} // namespace gateway::shell
