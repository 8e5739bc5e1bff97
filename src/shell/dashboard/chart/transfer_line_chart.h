#pragma once

#include "shell/controls/accessible_painted.h"
#include "state/transfer_line_chart.h"

#include <QtCore/QTimeZone>
#include <QtWidgets/QWidget>

#include <functional>
#include <optional>

namespace gateway::shell {

class Theme;

/// The chart of what came and what went, with a callout at the point under the pointer. The arrow keys go
/// from point to point: left and right in time, up and down between the series; Escape lets go.
///
/// A wheel over the chart is told to `onScrollDelta` and goes on to what the chart lies in.
///
/// Owner: its parent. Thread: main.
class TransferLineChart : public QWidget, public AccessiblePainted
{
    Q_OBJECT

public:
    /// \param theme     outlives this.
    /// \param timeZone  the user's, asked at each painting.
    TransferLineChart(const Theme &theme, std::function<QTimeZone()> timeZone, QWidget *parent = nullptr);

    void setChart(state::TransferLineChart chart);
    const state::TransferLineChart &chart() const { return m_chart; }

    /// How much of the chart shows; 1 but for a moment after each zoom.
    void setOpacity(double opacity);

    const std::optional<state::ChartHoverPoint> &hovered() const { return m_hovered; }

    /// Where the plot lies in this widget.
    QRectF plot() const;

    QSize sizeHint() const override { return {640, 300}; }
    QSize minimumSizeHint() const override { return {320, 200}; }

    QAccessible::Role accessibleRole() const override { return QAccessible::Chart; }
    QString accessibleWords() const override { return tr("Received and sent images over time"); }

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    QList<state::PlottedPoint> plotted() const;
    state::CalloutTexts calloutTexts(const state::HoverValueCallout &callout) const;
    void setHovered(const std::optional<state::ChartHoverPoint> &hovered);
    void findHoveredAnew();
    bool isAllZero() const;
    void paintEmptyWords(QPainter &painter, const QSizeF &size) const;

    const Theme &m_theme;
    const std::function<QTimeZone()> m_timeZone;
    state::TransferLineChart m_chart;
    double m_opacity = 1;
    std::optional<QPointF> m_pointer; ///< while the mouse points; nothing while the keys do
    std::optional<state::ChartHoverPoint> m_hovered;
};

} // namespace gateway::shell
