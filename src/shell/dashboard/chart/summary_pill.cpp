#include "shell/dashboard/chart/summary_pill.h"

#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/painting.h"
#include "shell/dashboard/cards/ink.h"
#include "shell/dashboard/chart/transfer_words.h"
#include "shell/theme/theme.h"

#include <QtCore/QLocale>
#include <QtGui/QFontMetricsF>
#include <QtGui/QPainter>

#include <cmath>

namespace gateway::shell {

namespace {

constexpr int kPillHeight = 34;
constexpr double kPillDot = 8;
constexpr double kLegendDot = 9;
constexpr int kDotGap = 8;
constexpr int kLegendGap = 6;

double baseLine(const QFontMetricsF &metrics, double height)
{
    return (height - metrics.height()) / 2 + metrics.ascent();
}

} // namespace

SummaryPill::SummaryPill(const Theme &theme, QWidget *parent) : QWidget(parent), m_theme(theme)
{
    announceAccessible();
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void SummaryPill::setPill(const state::SummaryPill &pill)
{
    if (pill == m_pill) {
        return;
    }
    m_pill = pill;
    updateGeometry();
    update();
    QAccessibleEvent renamed(this, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&renamed);
}

QString SummaryPill::valueText() const
{
    return QLocale().toString(static_cast<qlonglong>(m_pill.value));
}

QString SummaryPill::accessibleWords() const
{
    return tr("%1: %2").arg(transferWord(m_pill.title), valueText());
}

QSize SummaryPill::sizeHint() const
{
    const int title = widthOf(m_theme.font(TypeStyle::bodyStrong), transferWord(m_pill.title));
    const QFontMetricsF metrics(m_theme.font(TypeStyle::h3), this);
    const int value = static_cast<int>(std::ceil(fixedDigitWidth(metrics, valueText())));
    const int margin = m_theme.space(Space::gap);
    return {margin + static_cast<int>(kPillDot) + kDotGap + title + kDotGap + value + margin, kPillHeight};
}

void SummaryPill::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Color color = tokenOf(m_pill.color);
    const double radius = m_theme.radius(Radius::chip);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_theme.tinted(color));
    painter.drawRoundedRect(rect(), radius, radius);
    const double margin = m_theme.space(Space::gap);
    painter.setBrush(m_theme.color(color));
    painter.drawEllipse(QPointF(margin + kPillDot / 2, height() / 2.0), kPillDot / 2, kPillDot / 2);

    const QFont titleFont = m_theme.font(TypeStyle::bodyStrong);
    const QFontMetricsF titleMetrics(titleFont, this);
    const QFontMetricsF valueMetrics(m_theme.font(TypeStyle::h3), this);
    // Both stand on one line, although they differ in size.
    const double line = baseLine(valueMetrics, height());
    painter.setFont(titleFont);
    painter.setPen(m_theme.color(Color::text2));
    const double left = margin + kPillDot + kDotGap;
    const QString title = transferWord(m_pill.title);
    painter.drawText(QPointF(left, line), title);
    painter.setFont(m_theme.font(TypeStyle::h3));
    painter.setPen(m_theme.color(Color::text));
    drawFixedDigits(painter, {left + widthOf(titleFont, title) + kDotGap, line}, valueText());
}

LegendItem::LegendItem(const Theme &theme, const state::LegendItem &item, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_item(item)
{
    announceAccessible();
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

QString LegendItem::accessibleWords() const
{
    return transferWord(m_item.label);
}

QSize LegendItem::sizeHint() const
{
    const QFont font = m_theme.font(TypeStyle::small);
    return {static_cast<int>(kLegendDot) + kLegendGap + widthOf(font, transferWord(m_item.label)),
            static_cast<int>(std::ceil(QFontMetricsF(font, this).height()))};
}

void LegendItem::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_theme.color(tokenOf(m_item.color)));
    painter.drawEllipse(QPointF(kLegendDot / 2, height() / 2.0), kLegendDot / 2, kLegendDot / 2);
    painter.setFont(m_theme.font(TypeStyle::small));
    painter.setPen(m_theme.color(Color::text2));
    const QFontMetricsF metrics(painter.font(), this);
    painter.drawText(QPointF(kLegendDot + kLegendGap, baseLine(metrics, height())),
                     transferWord(m_item.label));
}

} // namespace gateway::shell
