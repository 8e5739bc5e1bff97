#include "browser/table_rows.h"

namespace gateway::browser {

RowOrder shownOf(const TableRows &rows, const RowOrder &order, const QByteArray &needle, bool onlyFailures)
{
    if (needle.isEmpty() && !onlyFailures) {
        return order;
    }
    RowOrder shown;
    for (const quint32 position : order) {
        const bool isWanted = !onlyFailures || rows.hasFailures(position);
        if (isWanted && (needle.isEmpty() || rows.matches(position, needle))) {
            shown.push_back(position);
        }
    }
    return shown;
}

} // namespace gateway::browser
