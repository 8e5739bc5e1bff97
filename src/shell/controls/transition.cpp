#include "shell/controls/transition.h"

#include "platform/concurrency/main_thread.h"
#include "shell/theme/theme.h"

#include <QtCore/QEasingCurve>
#include <QtWidgets/QWidget>

#include <algorithm>

namespace gateway::shell {

Transition::Transition(const Theme &theme, QWidget &widget, double start)
    : m_theme(theme), m_widget(widget), m_ticker(theme, widget), m_from(start), m_value(start),
      m_target(start)
{
    platform::assertMainThread("Transition");
    connect(&m_ticker, &FrameTicker::frame, this, &Transition::advance);
    connect(&m_ticker, &FrameTicker::rested, this, &Transition::finish);
}

void Transition::moveTo(double target, Motion motion)
{
    if (qFuzzyCompare(1 + target, 1 + m_target)) {
        return;
    }
    const double here = m_value;
    m_ticker.setWanted(false); // the time counts anew; this alone would bring the value to its old end
    m_from = here;
    m_value = here;
    m_target = target;
    m_duration = m_theme.duration(motion);
    m_ticker.setWanted(true);
    if (!m_ticker.isTicking()) {
        jumpTo(target);
    }
}

void Transition::jumpTo(double value)
{
    m_target = value;
    m_value = value;
    m_ticker.setWanted(false);
    m_widget.update();
}

void Transition::advance()
{
    using Share = std::chrono::duration<double>;
    const double progress = std::min(1.0, Share(m_ticker.elapsed()) / Share(m_duration));
    m_value = m_from + (m_target - m_from) * QEasingCurve(QEasingCurve::OutCubic).valueForProgress(progress);
    m_widget.update();
    if (progress >= 1.0) {
        m_ticker.setWanted(false);
    }
}

void Transition::finish()
{
    m_value = m_target;
    m_widget.update();
}

} // namespace gateway::shell
