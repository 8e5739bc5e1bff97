#include "shell/theme/house_style.h"

namespace gateway::shell {

HouseStyle::HouseStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void HouseStyle::drawPrimitive(PrimitiveElement element,
                               const QStyleOption *option,
                               QPainter *painter,
                               const QWidget *widget) const
{
    if (element != PE_FrameFocusRect) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

int HouseStyle::styleHint(StyleHint hint,
                          const QStyleOption *option,
                          const QWidget *widget,
                          QStyleHintReturn *returnData) const
{
    if (hint == SH_LineEdit_PasswordCharacter) {
        return 0x2022; // the bullet: the default, a black circle, is a blot in this font
    }
    const bool isUnwanted = hint == SH_ComboBox_Popup // a list below the box, not a menu over it
                            || hint == SH_EtchDisabledText || hint == SH_DitherDisabledText ||
                            hint == SH_ItemView_ActivateItemOnSingleClick;
    return isUnwanted ? 0 : QProxyStyle::styleHint(hint, option, widget, returnData);
}

} // namespace gateway::shell
