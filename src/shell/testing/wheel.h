#pragma once

#include <QtCore/QCoreApplication>
#include <QtGui/QWheelEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QWidget>

namespace gateway::shell::testing {

/// Turns the wheel over the middle of `widget`, as its shown window gets it from the system.
///
/// \param angle   in eighths of degrees: 120 for a notch.
/// \param pixels  null for a device without precise deltas.
inline void turnWheelOver(const QWidget &widget, QPoint angle, QPoint pixels = {})
{
    QWidget *window = widget.window();
    const QPointF middle = widget.rect().center();
    QWheelEvent event(widget.mapTo(window, middle),
                      widget.mapToGlobal(middle),
                      pixels,
                      angle,
                      Qt::NoButton,
                      Qt::NoModifier,
                      Qt::NoScrollPhase,
                      false);
    QCoreApplication::sendEvent(window->windowHandle(), &event);
    QCoreApplication::sendPostedEvents(); // what it led to, but no frame of a movement
}

} // namespace gateway::shell::testing
