#include "shell/controls/combo_box.h"

#include "shell/theme/theme.h"

#include <QtGui/QWheelEvent>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QStyleOptionComboBox>
#include <QtWidgets/QStyledItemDelegate>

namespace gateway::shell {

ComboBox::ComboBox(const Theme &theme, QWidget *parent) : QComboBox(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizeAdjustPolicy(AdjustToContents);
    setItemDelegate(new QStyledItemDelegate(this)); // the default one ignores the style sheet's items
    view()->setFont(theme.font(TypeStyle::body));
}

void ComboBox::initStyleOption(QStyleOptionComboBox *option) const
{
    QComboBox::initStyleOption(option);
    const QRect room =
        style()->subControlRect(QStyle::CC_ComboBox, option, QStyle::SC_ComboBoxEditField, this);
    option->currentText = option->fontMetrics.elidedText(option->currentText, Qt::ElideRight, room.width());
}

void ComboBox::wheelEvent(QWheelEvent *event)
{
    event->ignore();
}

} // namespace gateway::shell
