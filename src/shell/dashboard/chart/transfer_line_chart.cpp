#include "shell/dashboard/chart/transfer_line_chart.h"

#include "shell/controls/painting.h"
#include "shell/dashboard/chart/chart_keys.h"
#include "shell/dashboard/chart/chart_painting.h"
#include "shell/dashboard/chart/transfer_words.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr double kLabelGap = 10;
constexpr double kRoomAbove = 20; // for half of a callout
constexpr double kRoomRight = 8;  // for half of a dot and the focus ring
constexpr double kNotch = 120;    // what a plain wheel reports for one notch

bool isZero(std::int64_t value)
{
    return value == 0;
}

} // namespace

TransferLineChart::TransferLineChart(const Theme &theme, std::function<QTimeZone()> timeZone, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_timeZone(std::move(timeZone))
{
    announceAccessible();
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void TransferLineChart::setChart(state::TransferLineChart chart)
{
    m_chart = std::move(chart);
    findHoveredAnew();
    update();
}

void TransferLineChart::setOpacity(double opacity)
{
    m_opacity = opacity;
    update();
}

QRectF TransferLineChart::plot() const
{
    const double left = state::kYLabelColumnWidth + kLabelGap;
    return {left,
            kRoomAbove,
            std::max(0.0, width() - left - kRoomRight),
            std::max(0.0, state::plotHeight(height() - kRoomAbove))};
}

QList<state::PlottedPoint> TransferLineChart::plotted() const
{
    return plottedPoints(partsOf(m_chart, std::nullopt).dots, plot().size());
}

state::CalloutTexts TransferLineChart::calloutTexts(const state::HoverValueCallout &callout) const
{
    state::CalloutTexts words = texts(callout, m_timeZone(), QLocale());
    words.series = transferWord(words.series);
    return words;
}

void TransferLineChart::setHovered(const std::optional<state::ChartHoverPoint> &hovered)
{
    if (hovered == m_hovered) {
        return;
    }
    m_hovered = hovered;
    if (hovered) {
        const state::CalloutTexts words = calloutTexts({*hovered, m_chart.timeframe});
        setAccessibleDescription(tr("%1: %2, %3").arg(words.series, words.value, words.moment));
    } else {
        setAccessibleDescription(QString());
    }
    update();
}

void TransferLineChart::findHoveredAnew()
{
    const QList<state::PlottedPoint> points = plotted();
    if (m_pointer) {
        setHovered(hoveredPoint(points, *m_pointer - plot().topLeft()));
    } else if (m_hovered) {
        setHovered(samePoint(points, *m_hovered));
    }
}

void TransferLineChart::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    findHoveredAnew();
}

void TransferLineChart::mouseMoveEvent(QMouseEvent *event)
{
    m_pointer = event->position();
    findHoveredAnew();
}

void TransferLineChart::leaveEvent(QEvent * /*event*/)
{
    m_pointer.reset();
    setHovered(std::nullopt);
}

void TransferLineChart::wheelEvent(QWheelEvent *event)
{
    const bool isPrecise = !event->pixelDelta().isNull();
    const QPointF delta = isPrecise ? QPointF(event->pixelDelta()) : QPointF(event->angleDelta()) / kNotch;
    state::capture({m_chart.onScrollDelta},
                   {delta.x(), delta.y(), isPrecise, QRectF(rect()).contains(event->position())});
    event->ignore();
}

void TransferLineChart::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && m_hovered) {
        m_pointer.reset();
        setHovered(std::nullopt);
        return;
    }
    if (const int notches = notchesOf(event->key()); notches != 0) {
        state::capture({m_chart.onScrollDelta}, {0, static_cast<double>(notches), false, true});
        return;
    }
    const std::optional<ChartStep> step = stepOf(event->key());
    if (!step) {
        QWidget::keyPressEvent(event);
        return;
    }
    m_pointer.reset();
    setHovered(pointAfter(plotted(), m_hovered, *step));
}

void TransferLineChart::focusOutEvent(QFocusEvent *event)
{
    QWidget::focusOutEvent(event);
    if (!m_pointer) {
        setHovered(std::nullopt);
    }
}

bool TransferLineChart::isAllZero() const
{
    return std::all_of(m_chart.received.begin(), m_chart.received.end(), isZero) &&
           std::all_of(m_chart.sent.begin(), m_chart.sent.end(), isZero);
}

void TransferLineChart::paintEmptyWords(QPainter &painter, const QSizeF &size) const
{
    constexpr int kEdge = 24;
    const QString words = tr("No images were received or sent in this time range");
    const QFont font = m_theme.font(TypeStyle::body);
    const QRectF middle(0, size.height() / 2 - 34, size.width(), 30);

    // The grid would cross them out.
    QRectF ground(0, 0, widthOf(font, words) + 2 * m_theme.space(Space::wide), 84);
    ground.moveCenter(QPointF(size.width() / 2, size.height() / 2));
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_theme.color(Color::card));
    painter.drawRoundedRect(ground, m_theme.radius(Radius::control), m_theme.radius(Radius::control));

    paintSymbol(painter, m_theme, middle, u"photo.stack", Color::muted, kEdge);
    painter.setFont(font);
    painter.setPen(m_theme.color(Color::text2));
    painter.drawText(middle.translated(0, 34), int{Qt::AlignHCenter} | Qt::AlignVCenter, words);
}

void TransferLineChart::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (showsFocus(*this)) {
        paintFocusRing(painter, m_theme, rect(), m_theme.radius(Radius::control));
    }
    painter.setOpacity(m_opacity);
    const QRectF at = plot();
    const QSizeF size = at.size();
    painter.translate(at.topLeft());

    const state::ChartParts parts = partsOf(m_chart, m_hovered);
    paintGrid(painter, m_theme, parts.grid, size);
    paintYLabels(painter, m_theme, parts.yLabels, size, kLabelGap);
    paintXLabels(painter, m_theme, parts.xLabels, size, m_timeZone());
    paintArea(painter, m_theme, parts.received, size);
    paintArea(painter, m_theme, parts.sent, size);
    paintLine(painter, m_theme, parts.received, size);
    paintLine(painter, m_theme, parts.sent, size);
    paintDots(painter, m_theme, plottedPoints(parts.dots, size), m_hovered);
    if (m_hovered) {
        const state::HoverValueCallout callout{*m_hovered, m_chart.timeframe};
        paintCallout(painter, m_theme, callout, calloutTexts(callout), size.width());
    } else if (isAllZero()) {
        paintEmptyWords(painter, size);
    }
}

} // namespace gateway::shell
