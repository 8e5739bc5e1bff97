#pragma once

#include "state/chart_hover.h"

#include <optional>

namespace gateway::shell {

// How the keys go over the points of the transfer chart. Plain functions; thread: any.

/// Where a key leads.
enum class ChartStep
{
    earlier,
    later,
    otherSeries,
    earliest,
    latest
};

/// What a Qt::Key means here; nothing for other keys.
std::optional<ChartStep> stepOf(int key);

/// How many notches of a wheel a Qt::Key zooms in, less than none for out; 0 for other keys.
int notchesOf(int key);

/// The point that a step leads to. Without a point to start from it is the newest received one; at an end
/// the point stays.
std::optional<state::ChartHoverPoint> pointAfter(const QList<state::PlottedPoint> &points,
                                                 const std::optional<state::ChartHoverPoint> &from,
                                                 ChartStep step);

/// The point with the same identifier as `before`, if there still is one.
std::optional<state::ChartHoverPoint> samePoint(const QList<state::PlottedPoint> &points,
                                                const state::ChartHoverPoint &before);

} // namespace gateway::shell
