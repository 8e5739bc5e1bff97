#include "shell/dashboard/cards/paragraph.h"

#include <QtGui/QResizeEvent>

namespace gateway::shell {

Paragraph::Paragraph(const Theme &theme, TypeStyle style, Color color, QWidget *parent)
    : TextLabel(theme, {}, style, color, parent)
{
    setWordWrap(true);
}

QSize Paragraph::sizeHint() const
{
    return {TextLabel::sizeHint().width(), heightForWidth(width())};
}

QSize Paragraph::minimumSizeHint() const
{
    return {TextLabel::minimumSizeHint().width(), heightForWidth(width())};
}

void Paragraph::resizeEvent(QResizeEvent *event)
{
    TextLabel::resizeEvent(event);
    if (event->size().width() != event->oldSize().width()) {
        updateGeometry();
    }
}

} // namespace gateway::shell
