#include "shell/controls/table_view.h"

#include "shell/theme/theme.h"

#include <QtWidgets/QHeaderView>

namespace gateway::shell {

TableView::TableView(const Theme &theme, QWidget *parent) : QTableView(parent)
{
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setHorizontalScrollMode(ScrollPerPixel);
    setVerticalScrollMode(ScrollPerPixel);
    setTabKeyNavigation(false); // Tab leads on; arrow keys move within
    setShowGrid(false);
    setWordWrap(false);
    setSortingEnabled(true);
    setEditTriggers(NoEditTriggers);
    // One height for all rows: a table of 100,000 rows must not measure them.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(theme.size(Size::row));
    verticalHeader()->hide();
    horizontalHeader()->setSectionsMovable(true);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    horizontalHeader()->setFixedHeight(theme.size(Size::row));
    horizontalHeader()->setStretchLastSection(true);
}

} // namespace gateway::shell
