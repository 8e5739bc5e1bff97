#pragma once

#include "shell/theme/tokens.h"

#include <QtCore/QStringList>
#include <QtCore/QStringView>
#include <QtGui/QColor>
#include <QtGui/QIcon>
#include <QtGui/QPixmap>

namespace gateway::shell {

class Theme;

/// The application's own sign, in the header of the panel and in the status area.
inline constexpr QStringView kApplicationSymbol = u"quorinGatewayCloud.fill";

/// The names of all symbols that have an icon.
QStringList symbolNames();

/// The resource that holds the symbol's icon; empty for a name without one.
QString symbolFile(QStringView symbol);

/// The symbol's icon as a square of `edge` logical pixels in one colour; cached by name, colour, edge and
/// ratio. A null pixmap for a name without icon.
QPixmap symbolPixmap(QStringView symbol, const QColor &color, int edge, qreal devicePixelRatio);

/// The symbol as an icon that is painted in the theme's present colours, also when disabled.
QIcon symbolIcon(const Theme &theme, QStringView symbol, Color color);

} // namespace gateway::shell
