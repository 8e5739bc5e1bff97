#include "shell/dashboard/chart/chart_painting.h"

#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/painting.h"
#include "shell/dashboard/cards/ink.h"
#include "shell/theme/theme.h"

#include <QtGui/QFontMetricsF>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

#include <algorithm>
#include <cmath>

namespace gateway::shell {

namespace {

constexpr double kLabelOpacity = 0.65;
constexpr int kLabelPixels = 11;

constexpr double kCalloutNameOpacity = 0.82;
constexpr double kCalloutMomentOpacity = 0.65;
constexpr int kCalloutSmallPixels = 10;
constexpr int kCalloutValuePixels = 12;
constexpr double kCalloutDot = 7;
constexpr double kCalloutDotGap = 6;
constexpr double kCalloutMarginX = 12;
constexpr double kCalloutHeight = 54;
constexpr double kCalloutLine = 15;
constexpr double kCalloutWidest = 168;

QFont chartFont(const Theme &theme, int pixels, QFont::Weight weight)
{
    QFont font = theme.font(TypeStyle::axis);
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

/// Where a line of width 1 has to lie to fill whole pixels of the screen.
double onPixels(double position, double ratio)
{
    return std::round((position - 0.5) * ratio) / ratio + 0.5;
}

QPainterPath pathThrough(const QList<QPointF> &points)
{
    QPainterPath path(points.first());
    for (const QPointF &point : points) {
        path.lineTo(point);
    }
    return path;
}

void paintDot(QPainter &painter, const Theme &theme, const state::PlottedPoint &point, state::ChartDot dot)
{
    const double inherited = painter.opacity();
    painter.setOpacity(inherited * dot.opacity);
    QColor ring = theme.color(Color::onBlue);
    ring.setAlphaF(static_cast<float>(state::kDotRingOpacity));
    painter.setPen(QPen(ring, 1));
    painter.setBrush(theme.color(tokenOf(point.color)));
    const double radius = (dot.diameter - 1) / 2; // the ring's outer edge is the dot's
    painter.drawEllipse(point.location, radius, radius);
    painter.setOpacity(inherited);
}

/// Draws a line of digits and words with its middle line at `middle`.
void drawOnMiddle(QPainter &painter, double left, double middle, const QString &text)
{
    const QFontMetricsF metrics(painter.font(), painter.device());
    drawFixedDigits(painter, {left, middle + (metrics.ascent() - metrics.descent()) / 2}, text);
}

double widthOfDigits(const QPainter &painter, const QFont &font, const QString &text)
{
    return fixedDigitWidth(QFontMetricsF(font, painter.device()), text);
}

} // namespace

void paintGrid(QPainter &painter, const Theme &theme, const state::ChartGrid &grid, const QSizeF &plot)
{
    const double ratio = painter.device()->devicePixelRatioF();
    painter.setPen(QPen(ink(theme, state::kGridOpacity), 1, Qt::SolidLine, Qt::FlatCap));
    const QList<QLineF> all = lines(grid, plot);
    for (const QLineF &line : all) {
        const bool isLevel = line.y1() == line.y2();
        const QPointF shift = isLevel ? QPointF(0, onPixels(line.y1(), ratio) - line.y1())
                                      : QPointF(onPixels(line.x1(), ratio) - line.x1(), 0);
        painter.drawLine(line.translated(shift));
    }
}

void paintArea(QPainter &painter, const Theme &theme, const state::ChartLine &line, const QSizeF &plot)
{
    const QList<QPointF> along = points(line, plot);
    if (along.size() < 2) {
        return;
    }
    QPainterPath area = pathThrough(along);
    area.lineTo(along.last().x(), plot.height());
    area.lineTo(along.first().x(), plot.height());
    area.closeSubpath();

    const auto highest = std::min_element(
        along.begin(), along.end(), [](const QPointF &a, const QPointF &b) { return a.y() < b.y(); });
    QLinearGradient light(0, highest->y(), 0, plot.height());
    const QColor top = theme.tinted(tokenOf(line.color), Strength::areaTop);
    QColor bottom = top;
    bottom.setAlphaF(0);
    light.setColorAt(0, top);
    light.setColorAt(1, bottom);
    painter.fillPath(area, light);
}

void paintLine(QPainter &painter, const Theme &theme, const state::ChartLine &line, const QSizeF &plot)
{
    const QList<QPointF> along = points(line, plot);
    if (along.isEmpty()) {
        return;
    }
    QColor color = theme.color(tokenOf(line.color));
    color.setAlphaF(static_cast<float>(state::kLineOpacity));
    QPen pen(color, state::kLineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    if (line.dash) {
        QList<qreal> pattern; // in widths of the pen
        for (const double length : *line.dash) {
            pattern.append(length / state::kLineWidth);
        }
        pen.setDashPattern(pattern);
    }
    painter.strokePath(pathThrough(along), pen);
}

void paintDots(QPainter &painter,
               const Theme &theme,
               const QList<state::PlottedPoint> &points,
               const std::optional<state::ChartHoverPoint> &hovered)
{
    const state::PlottedPoint *onTop = nullptr;
    for (const state::PlottedPoint &point : points) {
        if (hovered && point.id == hovered->id) {
            onTop = &point;
        } else {
            paintDot(painter, theme, point, dotOf(point, hovered));
        }
    }
    if (onTop != nullptr) {
        paintDot(painter, theme, *onTop, dotOf(*onTop, hovered));
    }
}

void paintYLabels(QPainter &painter,
                  const Theme &theme,
                  const state::ChartYAxisLabels &labels,
                  const QSizeF &plot,
                  double gap)
{
    const QStringList words = texts(labels, QLocale());
    painter.setFont(chartFont(theme, kLabelPixels, QFont::Medium));
    painter.setPen(ink(theme, kLabelOpacity));
    const auto last = static_cast<double>(std::max<qsizetype>(words.size() - 1, 1));
    for (qsizetype i = 0; i < words.size(); ++i) {
        const double width = widthOfDigits(painter, painter.font(), words[i]);
        drawOnMiddle(painter, -gap - width, plot.height() * static_cast<double>(i) / last, words[i]);
    }
}

void paintXLabels(QPainter &painter,
                  const Theme &theme,
                  const state::ChartXAxisLabels &labels,
                  const QSizeF &plot,
                  const QTimeZone &zone)
{
    const QList<state::AxisLabel> row = placed(labels, zone, QLocale());
    painter.setFont(chartFont(theme, kLabelPixels, QFont::Medium));
    painter.setPen(ink(theme, kLabelOpacity));
    const double middle = plot.height() + state::kXLabelRowSpacing + state::kXLabelRowHeight / 2;
    for (const state::AxisLabel &label : row) {
        const double width = widthOfDigits(painter, painter.font(), label.text);
        drawOnMiddle(painter, leftOf(label, width, plot.width()), middle, label.text);
    }
}

void paintCallout(QPainter &painter,
                  const Theme &theme,
                  const state::HoverValueCallout &callout,
                  const state::CalloutTexts &texts,
                  double plotWidth)
{
    const QFont name = chartFont(theme, kCalloutSmallPixels, QFont::DemiBold);
    const QFont value = chartFont(theme, kCalloutValuePixels, QFont::Bold);
    const QFont moment = chartFont(theme, kCalloutSmallPixels, QFont::Medium);
    const double words = std::max({kCalloutDot + kCalloutDotGap + widthOfDigits(painter, name, texts.series),
                                   widthOfDigits(painter, value, texts.value),
                                   widthOfDigits(painter, moment, texts.moment)});
    QRectF body(0, 0, std::min(kCalloutWidest, std::ceil(words) + 2 * kCalloutMarginX), kCalloutHeight);
    const QPointF centre = placeOf(callout, plotWidth);
    body.moveTopLeft(
        QPointF(std::round(centre.x() - body.width() / 2), std::round(centre.y() - body.height() / 2)));

    const int radius = theme.radius(Radius::control);
    paintSoftShadow(painter, theme, body, radius);
    painter.setPen(QPen(theme.color(Color::lineStrong), 1));
    painter.setBrush(theme.color(Color::raised));
    painter.drawRoundedRect(body.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);

    const double left = body.left() + kCalloutMarginX;
    const double middle = body.center().y();
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.color(tokenOf(callout.point.color)));
    painter.drawEllipse(
        QPointF(left + kCalloutDot / 2, middle - kCalloutLine), kCalloutDot / 2, kCalloutDot / 2);
    const auto draw = [&](const QFont &font, double opacity, double x, double y, const QString &text) {
        painter.setFont(font);
        painter.setPen(ink(theme, opacity));
        drawOnMiddle(painter, x, y, text);
    };
    const double nameLeft = left + kCalloutDot + kCalloutDotGap;
    draw(name, kCalloutNameOpacity, nameLeft, middle - kCalloutLine, texts.series);
    draw(value, 1, left, middle, texts.value);
    draw(moment, kCalloutMomentOpacity, left, middle + kCalloutLine, texts.moment);
}

} // namespace gateway::shell
