#include "shell/dashboard/cards/ink.h"

#include "shell/theme/theme.h"

namespace gateway::shell {

QColor ink(const Theme &theme, double opacity)
{
    // What stands on a filled blue is white on both faces.
    QColor color = theme.color(theme.variant() == Variant::dark ? Color::onBlue : Color::text);
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

Color tokenOf(state::ChartColor color)
{
    return color == state::ChartColor::blue ? Color::blue : Color::green;
}

} // namespace gateway::shell
