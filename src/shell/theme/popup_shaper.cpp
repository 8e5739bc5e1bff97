#include "shell/theme/popup_shaper.h"

#include "platform/concurrency/main_thread.h"
#include "shell/theme/theme.h"

#include <QtCore/QEvent>
#include <QtGui/QBitmap>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMenu>

namespace gateway::shell {

namespace {

bool isRoundedPopup(const QWidget &widget)
{
    return qobject_cast<const QMenu *>(&widget) != nullptr || widget.inherits("QComboBoxPrivateContainer") ||
           widget.inherits("QTipLabel");
}

QBitmap roundedMask(const QSize &size, int radius)
{
    QBitmap mask(size);
    mask.clear();
    QPainter painter(&mask);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::color1);
    painter.drawRoundedRect(QRect(QPoint(), size), radius, radius);
    return mask;
}

} // namespace

PopupShaper::PopupShaper(const Theme &theme, QApplication &application) : m_theme(theme)
{
    platform::assertMainThread("PopupShaper");
    application.installEventFilter(this);
}

bool PopupShaper::eventFilter(QObject *watched, QEvent *event)
{
    if ((event->type() == QEvent::Show || event->type() == QEvent::Resize) && watched->isWidgetType()) {
        auto &widget = *static_cast<QWidget *>(watched);
        if (widget.isWindow() && isRoundedPopup(widget)) {
            widget.setMask(roundedMask(widget.size(), m_theme.radius(Radius::control)));
        }
    }
    return false;
}

} // namespace gateway::shell
