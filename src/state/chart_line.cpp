#include "state/chart_line.h"

#include <algorithm>

namespace gateway::state {

double xOfValue(std::size_t i, std::size_t count, double width)
{
    return width * static_cast<double>(i) / static_cast<double>(std::max<std::size_t>(count, 2) - 1);
}

double yOfValue(std::int64_t value, std::int64_t maxValue, double height)
{
    return height -
           static_cast<double>(value) * height / static_cast<double>(std::max<std::int64_t>(maxValue, 1));
}

QList<QPointF> points(const ChartLine &line, const QSizeF &plot)
{
    QList<QPointF> list;
    for (std::size_t i = 0; i < line.values.size(); ++i) {
        const double y = yOfValue(line.values[i], line.maxValue, plot.height()) + line.yOffset;
        list.append({xOfValue(i, line.values.size(), plot.width()), std::clamp(y, 0.0, plot.height())});
    }
    return list;
}

QList<QLineF> lines(const ChartGrid &grid, const QSizeF &plot)
{
    QList<QLineF> list;
    for (int i = 0; i < grid.horizontalLineCount; ++i) {
        const double y = plot.height() * i / std::max(grid.horizontalLineCount - 1, 1);
        list.append({0, y, plot.width(), y});
    }
    for (int j = 0; j < grid.verticalLineCount; ++j) {
        const double x = plot.width() * j / std::max(grid.verticalLineCount - 1, 1);
        list.append({x, 0, x, plot.height()});
    }
    return list;
}

} // namespace gateway::state
