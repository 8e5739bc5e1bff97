#pragma once

#include "platform/concurrency/clock.h"

#include <QtCore/QRect>
#include <QtWidgets/QWidget>

#include <chrono>
#include <optional>

class QScrollArea;

namespace gateway::shell {

class Theme;

/// A small frameless window that goes as soon as the operator turns to something else. On a screen that is
/// lower than its content it scrolls.
///
/// Owner: StatusBarController. Thread: main.
class Popover : public QWidget
{
    Q_OBJECT

public:
    /// \param content  fills it, built once; becomes a child.
    Popover(const Theme &theme, const platform::Clock &clock, QWidget *content);

    /// Shows it beside `anchor`, near the pointer without one, and makes it the active window.
    void open(const QRect &anchor);

    /// Whether it went by itself a moment ago: the click that sent it away may be the one that is being
    /// answered now.
    bool hasJustGone() const;

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    QSize fitted(const QSize &room) const;

    const Theme &m_theme;
    const platform::Clock &m_clock;
    QWidget *m_content;
    QScrollArea *m_area;
    QRect m_anchor;
    std::optional<std::chrono::nanoseconds> m_goneAt;
    bool m_wasPointerOnAnchor = false; // when it went
};

} // namespace gateway::shell
