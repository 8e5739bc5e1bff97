#include "shell/controls/combo_box.h"

#include "shell/theme/theme.h"

#include <QtGui/QWheelEvent>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QStyledItemDelegate>

namespace gateway::shell {

ComboBox::ComboBox(const Theme &theme, QWidget *parent) : QComboBox(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizeAdjustPolicy(AdjustToContents);
    setItemDelegate(new QStyledItemDelegate(this)); // the default one ignores the style sheet's items
    view()->setFont(theme.font(TypeStyle::body));
}

void ComboBox::wheelEvent(QWheelEvent *event)
{
    event->ignore();
}

} // namespace gateway::shell
