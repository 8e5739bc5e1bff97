#pragma once

#include "shell/theme/tokens.h"

#include <QtCore/QRectF>
#include <QtGui/QFont>

class QPainter;
class QWidget;

namespace gateway::shell {

class Theme;

/// How many whole pixels a line of text needs; what is narrower elides it.
int widthOf(const QFont &font, const QString &text);

/// The focus ring just inside `bounds`, two pixels wide, with a hair of the canvas between it and what it
/// rings.
void paintFocusRing(QPainter &painter, const Theme &theme, const QRectF &bounds, double radius);

/// An open circle that turns; `turn` counts rounds.
void paintSpinner(QPainter &painter, const Theme &theme, const QRectF &bounds, Color color, double turn);

/// The light on a raised surface: a hair along its edge inside.
void paintInnerStroke(QPainter &painter, const Theme &theme, const QRectF &bounds, double radius);

/// The soft shadow that a body throws on what is below it; painted before the body.
void paintSoftShadow(QPainter &painter, const Theme &theme, const QRectF &body, int radius);

/// The symbol's icon with its middle in the middle of `bounds`.
void paintSymbol(
    QPainter &painter, const Theme &theme, const QRectF &bounds, QStringView symbol, Color color, int edge);

} // namespace gateway::shell
