#pragma once

#include "shell/controls/accessible_painted.h"
#include "shell/controls/frame_ticker.h"

#include <QtCore/QList>
#include <QtCore/QPointF>
#include <QtCore/QSizeF>
#include <QtWidgets/QWidget>

namespace gateway::platform {
class Clock;
}

namespace gateway::shell {

class Theme;

/// Which way the arrows go.
enum class FlowDirection
{
    down,
    up
};

/// One arrow of a flow.
struct FlowArrow
{
    QPointF centre;
    double opacity = 0;

    bool operator==(const FlowArrow &) const = default;
};

/// The arrows that cover an area, column by column.
///
/// \param seconds  since the first moment of 2001 in UTC.
QList<FlowArrow> flowArrows(FlowDirection direction, const QSizeF &area, double seconds);

/// Arrows that move over an area while images do. It takes no mouse and no focus.
///
/// Inactive it shows nothing. Active without motion, because less of it is asked for, the arrows stand.
///
/// Owner: its parent. Thread: main.
class FlowOverlay : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    bool isMoving() const { return m_ticker.isTicking(); }

    /// Whether there is something to show; without motion the arrows stand then.
    bool isFlowing() const { return m_isFlowing; }

    QAccessible::Role accessibleRole() const override { return QAccessible::Animation; }

Q_SIGNALS:
    /// The arrows moved on.
    void frame();

    void flowingChanged(bool flowing);

protected:
    /// \param clock  outlives this.
    FlowOverlay(const Theme &theme, const platform::Clock &clock, FlowDirection direction, QWidget *parent);

    void setFlowing(bool flowing);

    void paintEvent(QPaintEvent *event) override;

private:
    double seconds() const;

    const Theme &m_theme;
    const platform::Clock &m_clock;
    const FlowDirection m_direction;
    bool m_isFlowing = false;
    FrameTicker m_ticker;
};

/// Images come: arrows towards the received card.
///
/// Owner: its parent. Thread: main.
class DownArrowFlowOverlay : public FlowOverlay
{
    Q_OBJECT

public:
    DownArrowFlowOverlay(const Theme &theme, const platform::Clock &clock, QWidget *parent = nullptr);

    /// It flows while both hold: nothing comes in without a listener.
    void setState(bool isListening, bool isActive);

    QString accessibleWords() const override;
};

/// Images go: arrows towards the cloud.
///
/// Owner: its parent. Thread: main.
class UpArrowFlowOverlay : public FlowOverlay
{
    Q_OBJECT

public:
    UpArrowFlowOverlay(const Theme &theme, const platform::Clock &clock, QWidget *parent = nullptr);

    void setActive(bool isActive) { setFlowing(isActive); }

    QString accessibleWords() const override;
};

} // namespace gateway::shell
