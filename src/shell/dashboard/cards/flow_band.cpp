#include "shell/dashboard/cards/flow_band.h"

#include "shell/controls/painting.h"
#include "shell/dashboard/cards/flow_overlay.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>

#include <algorithm>
#include <utility>

namespace gateway::shell {

namespace {

constexpr double kKnot = 22; // diameter of the disc that holds the arrow
constexpr int kArrowEdge = 12;
constexpr int kLongestLane = 460;

QColor faded(QColor color, double share)
{
    color.setAlphaF(color.alphaF() * static_cast<float>(share));
    return color;
}

} // namespace

FlowBand::FlowBand(const Theme &theme, QString symbol, Color color, FlowOverlay *overlay, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_symbol(std::move(symbol)), m_color(color), m_overlay(overlay),
      m_light(theme, *this, overlay->isFlowing() ? 1 : 0)
{
    overlay->setParent(this);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    connect(overlay, &FlowOverlay::flowingChanged, this, [this](bool flowing) {
        m_light.moveTo(flowing ? 1 : 0, Motion::slow);
    });
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void FlowBand::resizeEvent(QResizeEvent * /*event*/)
{
    QRect lane = rect();
    lane.setWidth(std::min(width(), kLongestLane));
    lane.moveCenter(rect().center());
    m_overlay->setGeometry(lane);
}

void FlowBand::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF lane = m_overlay->geometry();
    const double light = m_light.value();
    const QColor colored = m_theme.color(m_color);
    if (light > 0) {
        QLinearGradient glow(lane.topLeft(), lane.topRight());
        const QColor middle = faded(m_theme.tinted(m_color, Strength::glow), light);
        glow.setColorAt(0, faded(middle, 0));
        glow.setColorAt(0.5, middle);
        glow.setColorAt(1, faded(middle, 0));
        painter.fillRect(lane, glow);
    }
    const QPointF middle = QRectF(rect()).center();
    painter.setPen(QPen(Theme::mixed(m_theme.color(Color::raised), colored, light), 2));
    painter.drawLine(QPointF(middle.x(), 0), QPointF(middle.x(), height()));
    painter.setPen(QPen(Theme::mixed(m_theme.color(Color::hover), colored, light), 1));
    painter.setBrush(Theme::mixed(m_theme.color(Color::raised), colored, 0.25 * light));
    painter.drawEllipse(middle, kKnot / 2, kKnot / 2);
    const QRectF knot(middle.x() - kKnot / 2, middle.y() - kKnot / 2, kKnot, kKnot);
    paintSymbol(painter, m_theme, knot, m_symbol, light > 0.5 ? m_color : Color::muted, kArrowEdge);
}

} // namespace gateway::shell
