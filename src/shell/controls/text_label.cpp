#include "shell/controls/text_label.h"

#include "shell/theme/theme.h"

namespace gateway::shell {

TextLabel::TextLabel(const Theme &theme, const QString &text, TypeStyle style, Color color, QWidget *parent)
    : QLabel(text, parent), m_theme(theme), m_style(style), m_color(color)
{
    setTextFormat(Qt::PlainText);
    setFont(theme.font(style));
    applyColor();
    connect(&theme, &Theme::themeChanged, this, &TextLabel::applyColor);
}

void TextLabel::setColor(Color color)
{
    m_color = color;
    applyColor();
}

void TextLabel::setMono()
{
    setFont(m_theme.monoFont(m_style));
    setTextInteractionFlags(Qt::TextSelectableByMouse);
}

void TextLabel::applyColor()
{
    QPalette own = palette();
    own.setColor(QPalette::Active, QPalette::WindowText, m_theme.color(m_color));
    own.setColor(QPalette::Inactive, QPalette::WindowText, m_theme.color(m_color));
    own.setColor(QPalette::Disabled, QPalette::WindowText, m_theme.color(Color::disabled));
    setPalette(own);
}

} // namespace gateway::shell
