#include "shell/controls/painting.h"

#include "shell/theme/theme.h"

#include <QtGui/QFontMetricsF>
#include <QtGui/QImage>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtGui/QPixmapCache>

#include <cmath>
#include <vector>

namespace gateway::shell {

namespace {

constexpr int kShadowReach = 22; // pixels that the shadow shows beyond its body
constexpr int kShadowDrop = 5;   // light comes from above

/// One pass of a running mean over a line of alphas; three make a fair likeness of a Gaussian blur.
void smoothLine(uchar *first, qsizetype step, int count, int radius)
{
    std::vector<uchar> source(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index) {
        source[static_cast<std::size_t>(index)] = first[index * step];
    }
    const int width = 2 * radius + 1;
    const auto at = [&](int index) {
        return index < 0 || index >= count ? 0 : int{source[static_cast<std::size_t>(index)]};
    };
    int sum = 0;
    for (int index = -radius; index <= radius; ++index) {
        sum += at(index);
    }
    for (int index = 0; index < count; ++index) {
        first[index * step] = static_cast<uchar>(sum / width);
        sum += at(index + radius + 1) - at(index - radius);
    }
}

void smooth(QImage &alpha, int radius)
{
    for (int pass = 0; pass < 3; ++pass) {
        for (int y = 0; y < alpha.height(); ++y) {
            smoothLine(alpha.scanLine(y), 1, alpha.width(), radius);
        }
        for (int x = 0; x < alpha.width(); ++x) {
            smoothLine(alpha.bits() + x, alpha.bytesPerLine(), alpha.height(), radius);
        }
    }
}

/// The shadow of a square body that is as small as its corners allow.
QPixmap shadowPixmap(const QColor &color, int radius, qreal ratio)
{
    const int reach = qRound(kShadowReach * ratio);
    const int edge = qRound(2 * radius * ratio) + 1 + 2 * reach + 2 * reach;
    QImage alpha(edge, edge, QImage::Format_Alpha8);
    alpha.fill(Qt::transparent);
    {
        QPainter painter(&alpha);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(color.rgb())); // opaque: only its alpha counts
        painter.drawRoundedRect(
            QRectF(reach, reach, edge - 2 * reach, edge - 2 * reach), radius * ratio, radius * ratio);
    }
    smooth(alpha, reach / 3);
    QImage image(alpha.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.drawImage(0, 0, alpha);
    painter.end();
    return QPixmap::fromImage(image);
}

QPixmap cachedShadow(const QColor &color, int radius, qreal ratio)
{
    const QString key =
        QStringLiteral("shadow|%1|%2|%3").arg(color.name(QColor::HexArgb)).arg(radius).arg(ratio);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = shadowPixmap(color, radius, ratio);
        QPixmapCache::insert(key, pixmap);
    }
    return pixmap;
}

/// Draws a square picture with its corners as they are and its middle stretched, without the middle field.
void drawFrame(
    QPainter &painter, const QRectF &target, const QPixmap &pixmap, double corner, double sourceCorner)
{
    const double far = pixmap.width() - sourceCorner;
    const double sourceX[] = {0, sourceCorner, far, double(pixmap.width())};
    const double x[] = {target.left(), target.left() + corner, target.right() - corner, target.right()};
    const double y[] = {target.top(), target.top() + corner, target.bottom() - corner, target.bottom()};
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            if (row != 1 || column != 1) {
                painter.drawPixmap(QRectF(QPointF(x[column], y[row]), QPointF(x[column + 1], y[row + 1])),
                                   pixmap,
                                   QRectF(QPointF(sourceX[column], sourceX[row]),
                                          QPointF(sourceX[column + 1], sourceX[row + 1])));
            }
        }
    }
}

void strokeRounded(QPainter &painter, const QRectF &bounds, double radius, const QColor &color, double width)
{
    painter.setPen(QPen(color, width));
    painter.setBrush(Qt::NoBrush);
    const double half = width / 2;
    painter.drawRoundedRect(bounds.adjusted(half, half, -half, -half), radius - half, radius - half);
}

} // namespace

int widthOf(const QFont &font, const QString &text)
{
    return static_cast<int>(std::ceil(QFontMetricsF(font).horizontalAdvance(text))) + 1;
}

void paintFocusRing(QPainter &painter, const Theme &theme, const QRectF &bounds, double radius)
{
    painter.setRenderHint(QPainter::Antialiasing);
    strokeRounded(painter, bounds.adjusted(2, 2, -2, -2), radius - 2, theme.color(Color::canvas), 1);
    strokeRounded(painter, bounds, radius, theme.color(Color::focus), 2);
}

void paintSpinner(QPainter &painter, const Theme &theme, const QRectF &bounds, Color color, double turn)
{
    constexpr int kRound = 360 * 16; // QPainter counts sixteenths of degrees
    painter.setRenderHint(QPainter::Antialiasing);
    QColor faint = theme.color(color);
    faint.setAlphaF(faint.alphaF() * 0.25F);
    const QRectF circle = bounds.adjusted(1, 1, -1, -1);
    painter.setPen(QPen(faint, 2, Qt::SolidLine, Qt::RoundCap));
    painter.drawEllipse(circle);
    painter.setPen(QPen(theme.color(color), 2, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(circle, kRound / 4 - qRound(turn * kRound), -kRound / 4);
}

void paintInnerStroke(QPainter &painter, const Theme &theme, const QRectF &bounds, double radius)
{
    painter.setRenderHint(QPainter::Antialiasing);
    strokeRounded(painter, bounds, radius, theme.color(Color::line), 1);
}

void paintSoftShadow(QPainter &painter, const Theme &theme, const QRectF &body, int radius)
{
    const qreal ratio = painter.device()->devicePixelRatioF();
    const QPixmap shadow = cachedShadow(theme.color(Color::shadow), radius, ratio);
    const double corner = (shadow.width() - 1) / 2.0 / ratio;
    const QRectF target = body.adjusted(-kShadowReach, -kShadowReach, kShadowReach, kShadowReach);
    if (target.width() >= 2 * corner && target.height() >= 2 * corner) {
        drawFrame(painter, target.translated(0, kShadowDrop), shadow, corner, corner * ratio);
    }
}

void paintSymbol(
    QPainter &painter, const Theme &theme, const QRectF &bounds, QStringView symbol, Color color, int edge)
{
    const QPixmap pixmap = theme.pixmap(symbol, color, edge, painter.device()->devicePixelRatioF());
    const QPointF corner = bounds.center() - QPointF(edge / 2.0, edge / 2.0);
    painter.drawPixmap(QPointF(qRound(corner.x()), qRound(corner.y())), pixmap);
}

} // namespace gateway::shell
