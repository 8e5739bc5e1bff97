#include "shell/controls/state_label.h"

#include "shell/controls/painting.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>

namespace gateway::shell {

namespace {

constexpr double kDot = 8;
constexpr double kHalo = 3; // of the tinted ring around the dot
constexpr int kWordStart = 22;

} // namespace

StateLabel::StateLabel(const Theme &theme, QWidget *parent) : QLabel(parent), m_theme(theme)
{
    setTextFormat(Qt::PlainText);
    setTypeStyle(TypeStyle::bodyStrong);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void StateLabel::setState(const QString &word, Color color)
{
    m_color = color;
    setText(word);
    updateGeometry();
    update();
}

void StateLabel::setTypeStyle(TypeStyle style)
{
    setFont(m_theme.font(style));
    updateGeometry();
}

QSize StateLabel::sizeHint() const
{
    return {kWordStart + widthOf(font(), text()), std::max(fontMetrics().height(), qRound(kDot + 2 * kHalo))};
}

void StateLabel::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Color shown = isEnabled() ? m_color : Color::disabled;
    const QPointF middle(kHalo + kDot / 2, height() / 2.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_theme.tinted(shown, Strength::glow));
    painter.drawEllipse(middle, kDot / 2 + kHalo, kDot / 2 + kHalo);
    painter.setBrush(m_theme.color(shown));
    painter.drawEllipse(middle, kDot / 2, kDot / 2);
    painter.setPen(m_theme.color(isEnabled() ? Color::text : Color::disabled));
    const QRect room = rect().adjusted(kWordStart, 0, 0, 0);
    painter.drawText(room,
                     Qt::AlignVCenter | Qt::AlignLeft,
                     fontMetrics().elidedText(text(), Qt::ElideRight, room.width()));
}

} // namespace gateway::shell
