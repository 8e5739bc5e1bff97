#pragma once

#include "shell/theme/tokens.h"

#include <QtWidgets/QLabel>

namespace gateway::shell {

class Theme;

/// The width of a text whose digits each take a cell of the widest digit.
double fixedDigitWidth(const QFontMetricsF &metrics, const QString &text);

/// Draws such a text with the painter's font and pen, from `start` on the base line.
void drawFixedDigits(QPainter &painter, QPointF start, const QString &text);

/// A value that changes while one looks: its digits stay where they are when others take their place.
///
/// Owner: its parent. Thread: main.
class FixedDigitLabel : public QLabel
{
    Q_OBJECT

public:
    FixedDigitLabel(const Theme &theme,
                    const QString &text,
                    TypeStyle style,
                    Color color = Color::text,
                    QWidget *parent = nullptr);

    void setColor(Color color);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Theme &m_theme;
    Color m_color;
};

} // namespace gateway::shell
