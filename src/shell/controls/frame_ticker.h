#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <chrono>

class QWidget;

namespace gateway::shell {

class Theme;

/// The beat of whatever moves: thirty frames a second at most, and none while nobody could see them.
///
/// It ticks while it is wanted, its widget can be seen, the window isn't minimised, and motion isn't reduced.
///
/// Owner: the widget that moves. Thread: main.
class FrameTicker : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds kInterval{34};

    /// \param theme   outlives this.
    /// \param widget  whose visibility counts; owns this.
    FrameTicker(const Theme &theme, QWidget &widget);

    /// Says whether there is something to move.
    void setWanted(bool wanted);

    bool isTicking() const { return m_timer.isActive(); }

    /// Since the ticking began; zero while it rests.
    std::chrono::milliseconds elapsed() const;

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void frame();

    /// The ticking ended, by wish or because nobody can see it any more.
    void rested();

private:
    void settle();
    void watchWindow();

    const Theme &m_theme;
    QWidget &m_widget;
    QTimer m_timer;
    QElapsedTimer m_since;
    bool m_isWanted = false;
};

} // namespace gateway::shell
