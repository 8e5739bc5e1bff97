#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>

namespace gateway::shell {

class Theme;

/// A word on a tinted ground, such as a row's state or a category. Plain text.
///
/// Owner: its parent. Thread: main.
class Chip : public QLabel
{
    Q_OBJECT

public:
    Chip(const Theme &theme, const QString &text, Color color, QWidget *parent = nullptr);

    void setColor(Color color);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    /// How large a chip with this text is, for delegates.
    static QSize sizeOf(const Theme &theme, const QString &text);

    /// Paints a chip with its left end and its middle line as those of `bounds`, for delegates.
    static void
    paint(QPainter &painter, const Theme &theme, const QRect &bounds, const QString &text, Color color);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    Color m_color;
};

/// A filter that is on or off; on, it carries a check mark.
///
/// Owner: its parent. Thread: main.
class FilterChip : public QPushButton
{
    Q_OBJECT

public:
    FilterChip(const Theme &theme, const QString &text, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
};

} // namespace gateway::shell
