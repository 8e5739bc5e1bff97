#include "shell/controls/storage_usage_ring.h"

#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/painting.h"
#include "shell/theme/focus_watcher.h"
#include "shell/theme/theme.h"

#include <QtGui/QFontMetricsF>
#include <QtGui/QPainter>

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr double kStroke = 9;
constexpr double kRoomForRing = 4;
constexpr int kRound = 360 * 16; // QPainter counts sixteenths of degrees

} // namespace

StorageUsageRing::StorageUsageRing(const Theme &theme, Color color, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_color(color), m_arc(theme, *this, 0)
{
    announceAccessible();
    setFocusPolicy(Qt::TabFocus); // its figures are told to the keyboard too
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

double StorageUsageRing::fractionOf(double usedBytes, double availableBytes)
{
    const double used = std::max(0.0, usedBytes);
    const double sum = used + std::max(0.0, availableBytes);
    return sum > 0 ? used / sum : 0;
}

void StorageUsageRing::setUsedFraction(double usedFraction)
{
    m_usedFraction = usedFraction > 0 ? std::min(usedFraction, 1.0) : 0;
    m_isKnown = true;
    m_arc.moveTo(m_usedFraction, Motion::slow);
    announceValue();
    update();
}

void StorageUsageRing::setUnknown()
{
    m_usedFraction = 0;
    m_isKnown = false;
    m_arc.jumpTo(0);
    announceValue();
}

void StorageUsageRing::announceValue()
{
    QAccessibleValueChangeEvent event(this, m_usedFraction * 100);
    QAccessible::updateAccessibility(&event);
}

std::optional<double> StorageUsageRing::accessiblePercentage() const
{
    return m_usedFraction * 100;
}

void StorageUsageRing::paintArcs(QPainter &painter, const QRectF &circle) const
{
    painter.setPen(QPen(m_theme.color(Color::hover), kStroke));
    painter.drawEllipse(circle);
    if (m_isKnown && m_arc.value() > 0) {
        painter.setPen(QPen(
            m_theme.color(isEnabled() ? m_color : Color::disabled), kStroke, Qt::SolidLine, Qt::RoundCap));
        painter.drawArc(circle, kRound / 4, -qRound(m_arc.value() * kRound));
    }
}

void StorageUsageRing::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double edge = std::min(width(), height()) - kStroke - 2 * kRoomForRing;
    QRectF circle(0, 0, edge, edge);
    circle.moveCenter(QRectF(rect()).center());
    paintArcs(painter, circle);

    const QString words = m_isKnown ? tr("%1%").arg(qRound(m_usedFraction * 100)) : QStringLiteral("--");
    painter.setFont(m_theme.font(TypeStyle::h2));
    painter.setPen(m_theme.color(m_isKnown && isEnabled() ? Color::text : Color::muted));
    const QFontMetricsF metrics(painter.font(), this);
    const double left = circle.center().x() - fixedDigitWidth(metrics, words) / 2;
    drawFixedDigits(painter, {left, circle.center().y() + metrics.capHeight() / 2}, words);
    if (showsFocus(*this)) {
        const double reach = kStroke / 2 + kRoomForRing - 1;
        const QRectF outside = circle.adjusted(-reach, -reach, reach, reach);
        painter.setBrush(Qt::NoBrush);
        paintFocusRing(painter, m_theme, outside, outside.width() / 2);
    }
}

} // namespace gateway::shell
