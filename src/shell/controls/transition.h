#pragma once

#include "shell/controls/frame_ticker.h"
#include "shell/theme/tokens.h"

namespace gateway::shell {

/// A number on its way from one value to another, such as the share of a hover colour; repaints its widget.
///
/// It is at its end at once when nobody could see it move.
///
/// Owner: the widget that paints it. Thread: main.
class Transition : public QObject
{
    Q_OBJECT

public:
    Transition(const Theme &theme, QWidget &widget, double start);

    /// Moves to `target`; from where it is by now, if it was on its way.
    void moveTo(double target, Motion motion = Motion::fast);

    /// Is at `value` without a movement.
    void jumpTo(double value);

    double value() const { return m_value; }
    double target() const { return m_target; }

private:
    void advance();
    void finish();

    const Theme &m_theme;
    QWidget &m_widget;
    FrameTicker m_ticker;
    double m_from;
    double m_value;
    double m_target;
    std::chrono::milliseconds m_duration{0};
};

} // namespace gateway::shell
