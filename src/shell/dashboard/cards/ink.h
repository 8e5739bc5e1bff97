#pragma once

#include "shell/theme/tokens.h"
#include "state/chart_color.h"

#include <QtGui/QColor>

namespace gateway::shell {

class Theme;

/// What is drawn thinly over a card: white on the dark face, the colour of words on the light one.
QColor ink(const Theme &theme, double opacity = 1);

/// The theme's colour for one of the chart's.
Color tokenOf(state::ChartColor color);

} // namespace gateway::shell
