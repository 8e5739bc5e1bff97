#include "shell/controls/card.h"

#include "shell/controls/canvas.h"
#include "shell/controls/painting.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtGui/QPainter>

namespace gateway::shell {

namespace {

Canvas *canvasUnder(const QWidget &widget)
{
    for (QWidget *parent = widget.parentWidget(); parent != nullptr; parent = parent->parentWidget()) {
        if (auto *canvas = qobject_cast<Canvas *>(parent)) {
            return canvas;
        }
    }
    return nullptr;
}

} // namespace

Card::Card(const Theme &theme, QWidget *parent)
    : QWidget(parent), m_theme(theme), m_body(new QVBoxLayout(this))
{
    const int margin = theme.space(Space::wide);
    m_body->setContentsMargins(margin, margin, margin, margin);
    m_body->setSpacing(theme.space(Space::gap));
    connect(&theme, &Theme::themeChanged, this, qOverload<>(&QWidget::update));
}

bool Card::event(QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type == QEvent::Move || type == QEvent::Resize || type == QEvent::Show || type == QEvent::Hide) {
        if (Canvas *canvas = canvasUnder(*this)) {
            canvas->update(); // the shadow lies outside this widget
        }
    }
    return QWidget::event(event);
}

void Card::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = m_theme.radius(Radius::card);
    QLinearGradient light(0, 0, 0, height());
    light.setColorAt(0, m_theme.color(Color::cardTop));
    light.setColorAt(1, m_theme.color(Color::card));
    painter.setPen(Qt::NoPen);
    painter.setBrush(light);
    painter.drawRoundedRect(rect(), radius, radius);
    paintInnerStroke(painter, m_theme, rect(), radius);
}

} // namespace gateway::shell
