#pragma once

#include "state/transfer_line_chart.h"

#include <QtCore/QRectF>
#include <QtCore/QTimeZone>

#include <optional>

class QPainter;

namespace gateway::shell {

class Theme;

// The brush of the transfer chart: each paints one of its parts, by the arithmetic of `state`. The painter's
// origin is the upper left corner of the plot. Thread: main.

void paintGrid(QPainter &painter, const Theme &theme, const state::ChartGrid &grid, const QSizeF &plot);

/// The soft light under a line.
void paintArea(QPainter &painter, const Theme &theme, const state::ChartLine &line, const QSizeF &plot);

void paintLine(QPainter &painter, const Theme &theme, const state::ChartLine &line, const QSizeF &plot);

/// The dots, the hovered one on top.
void paintDots(QPainter &painter,
               const Theme &theme,
               const QList<state::PlottedPoint> &points,
               const std::optional<state::ChartHoverPoint> &hovered);

/// The numbers left of the plot, `gap` away from it, each on the height of its line.
void paintYLabels(QPainter &painter,
                  const Theme &theme,
                  const state::ChartYAxisLabels &labels,
                  const QSizeF &plot,
                  double gap);

/// The moments below the plot.
void paintXLabels(QPainter &painter,
                  const Theme &theme,
                  const state::ChartXAxisLabels &labels,
                  const QSizeF &plot,
                  const QTimeZone &zone);

/// What is told of the hovered point; `texts` have been put into the user's language.
void paintCallout(QPainter &painter,
                  const Theme &theme,
                  const state::HoverValueCallout &callout,
                  const state::CalloutTexts &texts,
                  double plotWidth);

} // namespace gateway::shell
