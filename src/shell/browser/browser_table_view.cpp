#include "shell/browser/browser_table_view.h"

#include "browser/browser_table.h"
#include "browser/quorin_gateway_local_study_row.h"
#include "shell/browser/browser_table_model.h"
#include "shell/controls/chip.h"
#include "shell/controls/painting.h"
#include "shell/theme/theme.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QScrollBar>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace gateway::shell {

namespace {

using browser::TableKind;

constexpr int kCellMargin = 12; // beside the words
constexpr int kDetailsWidth = 76;

/// Widths of the columns, "Details" left out; the last one takes what is left.
std::initializer_list<int> widthsOf(TableKind kind)
{
    static const std::initializer_list<int> kCloudStudies = {160, 104, 168, 84, 104, 84, 106, 92, 120};
    static const std::initializer_list<int> kCloudSeries = {90, 230, 100, 110, 84, 240};
    static const std::initializer_list<int> kLocalStudies = {180, 120, 90, 118, 158, 110, 164, 92};
    static const std::initializer_list<int> kLocalSeries = {90, 230, 100, 128, 84, 240};
    switch (kind) {
    case TableKind::cloudStudies:
        return kCloudStudies;
    case TableKind::cloudSeries:
        return kCloudSeries;
    case TableKind::localStudies:
        return kLocalStudies;
    case TableKind::localSeries:
        break;
    }
    return kLocalSeries;
}

Color stateColor(const QString &word)
{
    constexpr std::pair<std::int16_t, Color> kColors[] = {
        {1, Color::green}, {2, Color::red}, {3, Color::blue}}; // synced, failed, in progress
    for (const auto &[state, color] : kColors) {
        if (word == browser::syncStateWord(state)) {
            return color;
        }
    }
    return Color::amber;
}

} // namespace

BrowserDelegate::BrowserDelegate(const Theme &theme,
                                 const browser::BrowserTable &table,
                                 const BrowserTableModel &model,
                                 QObject *parent)
    : TableDelegate(parent), m_theme(theme), m_table(table), m_model(model)
{
}

void BrowserDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    TableDelegate::initStyleOption(option, index);
    const int column = index.column() - m_model.leadingColumns();
    if (isUidColumn(m_table.kind(), column)) {
        option->font = m_theme.monoFont(TypeStyle::small);
    }
    option->palette.setColor(QPalette::Text, m_theme.color(column == 0 ? Color::text : Color::text2));
}

void BrowserDelegate::paintGround(QPainter *painter, QStyleOptionViewItem option) const
{
    option.text.clear();
    const QWidget *table = option.widget;
    (table != nullptr ? table->style() : QApplication::style())
        ->drawControl(QStyle::CE_ItemViewItem, &option, painter, table);
}

void BrowserDelegate::paint(QPainter *painter,
                            const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    const bool isDetails = m_model.isDetails(index.column());
    const bool isState = stateColumn(m_table.kind()) == index.column() - m_model.leadingColumns();
    if (!isDetails && !isState) {
        TableDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem ground = option;
    initStyleOption(&ground, index);
    paintGround(painter, ground);
    if (isDetails) {
        paintSymbol(*painter,
                    m_theme,
                    QRectF(option.rect),
                    u"info.circle",
                    ground.state.testFlag(QStyle::State_MouseOver) ? Color::blueHi : Color::blue,
                    m_theme.size(Size::icon));
        return;
    }
    const QRect bounds = option.rect.adjusted(kCellMargin, 0, -m_theme.space(Space::hair), 0);
    Chip::paint(*painter, m_theme, bounds, ground.text, stateColor(ground.text));
}

BrowserTableView::BrowserTableView(const Theme &theme,
                                   browser::BrowserTable &table,
                                   BrowserTableModel &model,
                                   QWidget *parent)
    : TableView(theme, parent), m_table(table), m_model(model)
{
    setModel(&model);
    setItemDelegate(new BrowserDelegate(theme, table, model, this));
    const int leading = model.leadingColumns();
    setColumnWidths();
    const browser::SortOrder order = table.sortOrder();
    horizontalHeader()->setSortIndicator(leading + order.column,
                                         order.ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(&model, &QAbstractItemModel::modelAboutToBeReset, this, &BrowserTableView::rememberPlace);
    connect(&model, &QAbstractItemModel::modelReset, this, &BrowserTableView::restorePlace);
    connect(&table, &browser::BrowserTable::changed, this, [this] {
        if (m_table.selectedIDs().isEmpty() && selectionModel()->hasSelection()) {
            clearSelection(); // the selected rows are going
        }
    });
    connect(this, &QAbstractItemView::clicked, this, [this](const QModelIndex &index) {
        if (m_model.isDetails(index.column())) {
            Q_EMIT detailsRequested(m_model.idAt(index.row()));
        }
    });
    connect(this, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex &index) {
        if (!m_model.isDetails(index.column())) {
            Q_EMIT detailsRequested(m_model.idAt(index.row()));
        }
    });
    connect(&theme, &Theme::themeChanged, viewport(), qOverload<>(&QWidget::update));
}

void BrowserTableView::setColumnWidths()
{
    int column = 0;
    if (m_model.leadingColumns() > 0) {
        setColumnWidth(column++, kDetailsWidth);
    }
    for (const int width : widthsOf(m_table.kind())) {
        setColumnWidth(column++, width);
    }
    widenToTitles();
}

BrowserTableView::~BrowserTableView()
{
    m_isRestoring = true; // what goes with the view isn't a person's choice
}

QString BrowserTableView::currentId() const
{
    return currentIndex().isValid() ? m_model.idAt(currentIndex().row()) : QString();
}

/// What a person selects anew takes the place of all, also of what the search hides.
void BrowserTableView::forgetHiddenSelection() const
{
    if (m_table.hiddenSelected() > 0) {
        QSet<QString> shown;
        for (const quint32 position : m_table.shown()) {
            if (m_table.isSelected(position)) {
                shown.insert(m_table.rows()->id(position));
            }
        }
        m_table.setSelectedIDs(shown);
    }
}

void BrowserTableView::selectAll()
{
    forgetHiddenSelection();
    TableView::selectAll();
}

QItemSelectionModel::SelectionFlags BrowserTableView::selectionCommand(const QModelIndex &index,
                                                                       const QEvent *event) const
{
    const QItemSelectionModel::SelectionFlags flags = TableView::selectionCommand(index, event);
    const bool isBegun = event != nullptr &&
                         (event->type() == QEvent::MouseButtonPress ||
                          event->type() == QEvent::MouseButtonRelease || event->type() == QEvent::KeyPress);
    if (isBegun && flags.testFlag(QItemSelectionModel::Clear)) {
        forgetHiddenSelection();
    }
    return flags;
}

void BrowserTableView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    TableView::selectionChanged(selected, deselected);
    if (m_isRestoring) {
        return;
    }
    QSet<QString> ids = m_table.selectedIDs();
    for (const QItemSelectionRange &range : deselected) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            ids.remove(m_model.idAt(row));
        }
    }
    for (const QItemSelectionRange &range : selected) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            ids.insert(m_model.idAt(row));
        }
    }
    m_table.setSelectedIDs(ids);
}

void BrowserTableView::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy)) {
        Q_EMIT copyRequested();
    } else if (event->matches(QKeySequence::Delete)) {
        Q_EMIT deleteRequested();
    } else if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
               currentIndex().isValid()) {
        Q_EMIT detailsRequested(currentId());
    } else if (event->key() == Qt::Key_Escape && !m_table.selectedIDs().isEmpty()) {
        m_table.setSelectedIDs({});
        setCurrentIndex({});
    } else {
        TableView::keyPressEvent(event);
    }
}

void BrowserTableView::rememberPlace()
{
    m_currentId = currentId();
    m_currentColumn = currentIndex().column();
    const int top = rowAt(0);
    m_topId = top > 0 ? m_model.idAt(top) : QString();
    m_topOffset = top > 0 ? rowViewportPosition(top) : 0;
}

/// The table's selection. Neighbouring rows share a range: the header looks through all rows times all
/// ranges.
QItemSelection BrowserTableView::selectionOfTable() const
{
    QItemSelection selection;
    const int last = m_model.columnCount() - 1;
    const int rows = m_table.selectedIDs().isEmpty() ? 0 : m_model.rowCount();
    const auto isSelected = [&](int row) {
        return row < rows && m_table.isSelected(m_table.shown()[static_cast<std::size_t>(row)]);
    };
    for (int row = 0; row < rows; ++row) {
        const int first = row;
        while (isSelected(row)) {
            ++row;
        }
        if (row > first) {
            selection.append(QItemSelectionRange(m_model.index(first, 0), m_model.index(row - 1, last)));
        }
    }
    return selection;
}

/// The rows that were selected, current and on top are so again, where they are still shown.
void BrowserTableView::restorePlace()
{
    m_isRestoring = true;
    const QItemSelection selection = selectionOfTable();
    if (const auto current = m_model.rowOf(m_currentId)) {
        selectionModel()->setCurrentIndex(m_model.index(*current, std::max(0, m_currentColumn)),
                                          QItemSelectionModel::NoUpdate);
    }
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    if (const auto top = m_model.rowOf(m_topId)) {
        updateGeometries(); // the bar reaches as far as the rows do
        verticalScrollBar()->setValue(*top * verticalHeader()->defaultSectionSize() - m_topOffset);
    }
    m_isRestoring = false;
}

} // namespace gateway::shell
