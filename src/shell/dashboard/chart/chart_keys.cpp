#include "shell/dashboard/chart/chart_keys.h"

#include <algorithm>

namespace gateway::shell {

namespace {

using state::ChartHoverPoint;
using state::PlottedPoint;

ChartHoverPoint hoverPointOf(const PlottedPoint &point)
{
    return {point.id, point.value, point.series, point.color, point.location, point.timestamp};
}

const PlottedPoint *withId(const QList<PlottedPoint> &points, const QString &id)
{
    const auto found = std::find_if(
        points.begin(), points.end(), [&id](const PlottedPoint &point) { return point.id == id; });
    return found == points.end() ? nullptr : &*found;
}

/// The points of one series, or of all others.
QList<PlottedPoint> ofSeries(const QList<PlottedPoint> &points, state::ChartColor color, bool isSame)
{
    QList<PlottedPoint> series;
    std::copy_if(points.begin(),
                 points.end(),
                 std::back_inserter(series),
                 [color, isSame](const PlottedPoint &point) { return (point.color == color) == isSame; });
    return series;
}

} // namespace

std::optional<ChartStep> stepOf(int key)
{
    switch (key) {
    case Qt::Key_Left:
        return ChartStep::earlier;
    case Qt::Key_Right:
        return ChartStep::later;
    case Qt::Key_Up:
    case Qt::Key_Down:
        return ChartStep::otherSeries;
    case Qt::Key_Home:
        return ChartStep::earliest;
    case Qt::Key_End:
        return ChartStep::latest;
    default:
        return std::nullopt;
    }
}

int notchesOf(int key)
{
    switch (key) {
    case Qt::Key_Plus:
    case Qt::Key_Equal: // the same key without Shift, on many keyboards
        return 1;
    case Qt::Key_Minus:
        return -1;
    default:
        return 0;
    }
}

std::optional<ChartHoverPoint>
pointAfter(const QList<PlottedPoint> &points, const std::optional<ChartHoverPoint> &from, ChartStep step)
{
    if (points.isEmpty()) {
        return std::nullopt;
    }
    const PlottedPoint *here = from ? withId(points, from->id) : nullptr;
    if (here == nullptr) {
        return hoverPointOf(ofSeries(points, points.first().color, true).last());
    }
    const QList<PlottedPoint> series = ofSeries(points, here->color, step != ChartStep::otherSeries);
    if (series.isEmpty()) {
        return from;
    }
    const qsizetype last = series.size() - 1;
    const qsizetype index = here->index;
    switch (step) {
    case ChartStep::earlier:
        return hoverPointOf(series[std::max<qsizetype>(index - 1, 0)]);
    case ChartStep::later:
        return hoverPointOf(series[std::min(index + 1, last)]);
    case ChartStep::otherSeries:
        return hoverPointOf(series[std::min(index, last)]);
    case ChartStep::earliest:
        return hoverPointOf(series.first());
    case ChartStep::latest:
        return hoverPointOf(series.last());
    }
    return from;
}

std::optional<ChartHoverPoint> samePoint(const QList<PlottedPoint> &points, const ChartHoverPoint &before)
{
    const PlottedPoint *point = withId(points, before.id);
    return point == nullptr ? std::nullopt : std::optional(hoverPointOf(*point));
}

} // namespace gateway::shell
