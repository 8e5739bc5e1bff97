#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QLabel>

namespace gateway::shell {

class Theme;

/// Words in one of the text styles and in a colour of the theme; always plain text.
///
/// Owner: its parent. Thread: main.
class TextLabel : public QLabel
{
    Q_OBJECT

public:
    TextLabel(const Theme &theme,
              const QString &text,
              TypeStyle style,
              Color color = Color::text,
              QWidget *parent = nullptr);

    void setColor(Color color);

    /// In the font of times, hashes and UIDs; such text can be marked and copied.
    void setMono();

private:
    void applyColor();

    const Theme &m_theme;
    const TypeStyle m_style;
    Color m_color;
};

} // namespace gateway::shell
