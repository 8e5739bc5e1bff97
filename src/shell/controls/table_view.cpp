#include "shell/controls/table_view.h"

#include "shell/theme/theme.h"

#include <QtGui/QHoverEvent>
#include <QtWidgets/QHeaderView>

#include <algorithm>
#include <utility>

namespace gateway::shell {

namespace {

constexpr int kTitleMargin = 12; // on either side of a column's title
constexpr int kSortMark = 12;    // has its room beside every title

} // namespace

void TableDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const auto *table = qobject_cast<const TableView *>(option->widget);
    option->state.setFlag(QStyle::State_MouseOver, table != nullptr && table->hoveredRow() == index.row());
}

TableView::TableView(const Theme &theme, QWidget *parent) : QTableView(parent)
{
    setItemDelegate(new TableDelegate(this));
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

void TableView::widenToTitles()
{
    ensurePolished(); // whose font the titles have
    horizontalHeader()->ensurePolished();
    for (int column = 0; column < model()->columnCount(); ++column) {
        const QString title = model()->headerData(column, Qt::Horizontal).toString();
        const int words = horizontalHeader()->fontMetrics().horizontalAdvance(title);
        setColumnWidth(column, std::max(columnWidth(column), words + 2 * kTitleMargin + kSortMark));
    }
}

/// Cells are never marked alone: the base doesn't hear of the pointer.
bool TableView::viewportEvent(QEvent *event)
{
    switch (event->type()) {
    case QEvent::HoverEnter:
    case QEvent::HoverMove:
        hover(static_cast<QHoverEvent *>(event)->position().toPoint());
        return QAbstractScrollArea::viewportEvent(event);
    case QEvent::HoverLeave:
        hover({});
        return QAbstractScrollArea::viewportEvent(event);
    default:
        return QTableView::viewportEvent(event);
    }
}

/// Another row comes below a pointer that rests.
void TableView::scrollContentsBy(int dx, int dy)
{
    QTableView::scrollContentsBy(dx, dy);
    hover(m_pointer);
}

void TableView::hover(std::optional<QPoint> pointer)
{
    m_pointer = pointer;
    const int row = pointer ? indexAt(*pointer).row() : -1;
    if (row == m_hoveredRow) {
        return;
    }
    updateRow(std::exchange(m_hoveredRow, row));
    updateRow(row);
}

void TableView::updateRow(int row)
{
    if (row >= 0) {
        viewport()->update(0, rowViewportPosition(row), viewport()->width(), rowHeight(row));
    }
}

} // namespace gateway::shell
