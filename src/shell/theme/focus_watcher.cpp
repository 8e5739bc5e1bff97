#include "shell/theme/focus_watcher.h"

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
    application.installEventFilter(this);
}

bool FocusWatcher::eventFilter(QObject *watched, QEvent *event)
{
    if ((event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) && watched->isWidgetType()) {
        auto &widget = *static_cast<QWidget *>(watched);
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        const bool isTypedInto = widget.testAttribute(Qt::WA_InputMethodEnabled);
        if (!isInterruption(reason)) {
            show(widget, event->type() == QEvent::FocusIn && (isReachedByKeyboard(reason) || isTypedInto));
        }
    }
    return false;
}

} // namespace gateway::shell
