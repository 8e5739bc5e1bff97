#include "shell/theme/focus_watcher.h"

#include "platform/concurrency/main_thread.h"
#include <QtCore/QVariant>
#include <QtGui/QFocusEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyle>
#include <QtWidgets/QWidget>

namespace gateway::shell {

namespace {

bool isReachedByKeyboard(Qt::FocusReason reason)
{
    return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
           reason == Qt::ShortcutFocusReason;
}

/// The popup or the window took the focus for a while; the widget keeps what it showed.
bool isInterruption(Qt::FocusReason reason)
{
    return reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason ||
           reason == Qt::MenuBarFocusReason;
}

void show(QWidget &widget, bool shown)
{
    if (showsFocus(widget) == shown) {
        return;
    }
    widget.setProperty(kShowsFocusProperty, shown);
    widget.style()->unpolish(&widget);
    widget.style()->polish(&widget);
    widget.update();
}

} // namespace

bool showsFocus(const QWidget &widget)
{
    return widget.property(kShowsFocusProperty).toBool();
}

FocusWatcher::FocusWatcher(QApplication &application)
{
    platform::assertMainThread("FocusWatcher");
    application.installEventFilter(this);
}

bool FocusWatcher::eventFilter(QObject *watched, QEvent *event)
{
    if (watched->isWidgetType() && event->type() == QEvent::FocusIn) {
        focusCame(*static_cast<QWidget *>(watched), static_cast<QFocusEvent *>(event)->reason());
    } else if (watched->isWidgetType() && event->type() == QEvent::FocusOut) {
        const bool isLent = QApplication::activePopupWidget() != nullptr; // to a list or menu of the widget
        if (!isLent && !isInterruption(static_cast<QFocusEvent *>(event)->reason())) {
            show(*static_cast<QWidget *>(watched), false);
        }
    }
    return false;
}

void FocusWatcher::focusCame(QWidget &widget, Qt::FocusReason reason)
{
    // A focus that moved while its window was inactive told nobody that it left.
    if (m_last != nullptr && m_last != &widget && m_last->window() == widget.window()) {
        show(*m_last, false);
    }
    m_last = &widget;
    const bool isTypedInto = widget.testAttribute(Qt::WA_InputMethodEnabled);
    const bool kept = isInterruption(reason) && showsFocus(widget);
    show(widget, isReachedByKeyboard(reason) || isTypedInto || kept);
}

} // namespace gateway::shell
