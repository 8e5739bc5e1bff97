#include "shell/controls/fixed_digit_label.h"

#include "shell/theme/theme.h"

#include <QtGui/QFontMetricsF>
#include <QtGui/QPainter>

#include <algorithm>
#include <cmath>

namespace gateway::shell {

namespace {

double digitCell(const QFontMetricsF &metrics)
{
    double widest = 0;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit) {
        widest = std::max(widest, metrics.horizontalAdvance(QChar(digit)));
    }
    return widest;
}

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

/// Calls `take(piece, its offset, its cell's width)` for each digit and for each stretch of other characters.
template <typename Take>
double forEachPiece(const QFontMetricsF &metrics, const QString &text, Take take)
{
    const double cell = digitCell(metrics);
    double offset = 0;
    for (qsizetype start = 0; start < text.size();) {
        qsizetype end = start + 1;
        while (!isDigit(text[start]) && end < text.size() && !isDigit(text[end])) {
            ++end;
        }
        const QString piece = text.mid(start, end - start);
        const double width = isDigit(text[start]) ? cell : metrics.horizontalAdvance(piece);
        take(piece, offset, width);
        offset += width;
        start = end;
    }
    return offset;
}

} // namespace

double fixedDigitWidth(const QFontMetricsF &metrics, const QString &text)
{
    return forEachPiece(metrics, text, [](const QString &, double, double) {});
}

void drawFixedDigits(QPainter &painter, QPointF start, const QString &text)
{
    const QFontMetricsF metrics(painter.font(), painter.device());
    forEachPiece(metrics, text, [&](const QString &piece, double offset, double width) {
        const double slack = (width - metrics.horizontalAdvance(piece)) / 2;
        painter.drawText(start + QPointF(offset + slack, 0), piece);
    });
}

FixedDigitLabel::FixedDigitLabel(
    const Theme &theme, const QString &text, TypeStyle style, Color color, QWidget *parent)
    : QLabel(text, parent), m_theme(theme), m_color(color)
{
    setTextFormat(Qt::PlainText);
    setFont(theme.font(style));
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void FixedDigitLabel::setColor(Color color)
{
    m_color = color;
    update();
}

QSize FixedDigitLabel::sizeHint() const
{
    const QFontMetricsF metrics(font(), this);
    return {int(std::ceil(fixedDigitWidth(metrics, text()))), int(std::ceil(metrics.height()))};
}

void FixedDigitLabel::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    const QFontMetricsF metrics(font(), this);
    painter.setFont(font());
    painter.setPen(m_theme.color(isEnabled() ? m_color : Color::disabled));
    const double room = width() - fixedDigitWidth(metrics, text());
    const double left = alignment().testFlag(Qt::AlignRight)     ? room
                        : alignment().testFlag(Qt::AlignHCenter) ? room / 2
                                                                 : 0;
    const double baseLine = (height() - metrics.height()) / 2 + metrics.ascent();
    drawFixedDigits(painter, {left, baseLine}, text());
}

} // namespace gateway::shell
