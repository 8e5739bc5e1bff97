#include "shell/controls/canvas.h"

#include "shell/controls/card.h"
#include "shell/controls/painting.h"
#include "shell/theme/theme.h"

#include <QtGui/QPaintEvent>
#include <QtGui/QPainter>

namespace gateway::shell {

Canvas::Canvas(const Theme &theme, QWidget *parent) : QWidget(parent), m_theme(theme)
{
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

void Canvas::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), m_theme.color(Color::canvas));
    const QList<Card *> cards = findChildren<Card *>();
    for (const Card *card : cards) {
        if (card->isVisibleTo(this)) {
            const QRect body(card->mapTo(this, QPoint()), card->size());
            paintSoftShadow(painter, m_theme, body, m_theme.radius(Radius::card));
        }
    }
}

} // namespace gateway::shell
