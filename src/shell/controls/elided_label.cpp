#include "shell/controls/elided_label.h"

#include "shell/controls/painting.h"
#include "shell/controls/tool_tip.h"
#include "shell/theme/theme.h"

#include <QtGui/QPainter>

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr int kLeastWidth = 150;

} // namespace

ElidedLabel::ElidedLabel(const Theme &theme, TypeStyle style, Color color, QWidget *parent)
    : QLabel(parent), m_theme(theme), m_color(color)
{
    setTextFormat(Qt::PlainText);
    setFont(theme.font(style));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void ElidedLabel::setWords(const QString &words)
{
    setText(words);
    settleToolTip();
}

void ElidedLabel::setColor(Color color)
{
    m_color = color;
    update();
}

QSize ElidedLabel::sizeHint() const
{
    return {std::min(kLeastWidth, widthOf(font(), text())), fontMetrics().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    settleToolTip();
}

void ElidedLabel::settleToolTip()
{
    setToolTip(widthOf(font(), text()) > width() ? toolTipOf(text()) : QString());
}

void ElidedLabel::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(m_theme.color(isEnabled() ? m_color : Color::disabled));
    painter.drawText(rect(),
                     Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                     fontMetrics().elidedText(text(), m_elision, width()));
}

} // namespace gateway::shell
