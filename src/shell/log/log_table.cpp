#include "shell/log/log_table.h"

#include "shell/controls/chip.h"
#include "shell/log/log_screen_words.h"
#include "shell/log/log_table_model.h"
#include "shell/theme/theme.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QResizeEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QScrollBar>

#include <algorithm>

namespace gateway::shell {

namespace {

constexpr int kChipLeft = 12; // where the words of the other columns begin

constexpr struct
{
    LogTableModel::Column column;
    int width;
} kWidths[] = {{LogTableModel::time, 168},
               {LogTableModel::level, 96},
               {LogTableModel::category, 124},
               {LogTableModel::outcome, 112},
               {LogTableModel::hash, 148}};
constexpr int kLeastAction = 120;

} // namespace

LogDelegate::LogDelegate(const Theme &theme, const LogTableModel &model, QObject *parent)
    : TableDelegate(parent), m_theme(theme), m_model(model)
{
}

void LogDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    TableDelegate::initStyleOption(option, index);
    Color color = Color::text2;
    switch (index.column()) {
    case LogTableModel::time:
    case LogTableModel::hash:
        option->font = m_theme.monoFont(TypeStyle::small);
        break;
    case LogTableModel::action:
        color = Color::text;
        break;
    case LogTableModel::outcome:
        color = colorFor(m_model.record(index.row()).outcome);
        break;
    default:
        break;
    }
    option->palette.setColor(QPalette::Text, m_theme.color(color));
}

void LogDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    if (index.column() == LogTableModel::action) {
        paintAction(painter, option, index);
        return;
    }
    if (index.column() != LogTableModel::level) {
        TableDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem ground = option;
    initStyleOption(&ground, index);
    const QString word = ground.text;
    ground.text.clear();
    const QWidget *table = option.widget;
    (table != nullptr ? table->style() : QApplication::style())
        ->drawControl(QStyle::CE_ItemViewItem, &ground, painter, table);
    const QRect bounds = option.rect.adjusted(kChipLeft, 0, -m_theme.space(Space::hair), 0);
    Chip::paint(*painter, m_theme, bounds, word, colorFor(m_model.record(index.row()).level));
}

/// The words for people, and the log's own behind them as far as there is room.
void LogDelegate::paintAction(QPainter *painter,
                              const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    TableDelegate::paint(painter, option, index);
    QStyleOptionViewItem words = option;
    initStyleOption(&words, index);
    const int side = m_theme.space(Space::gap);
    const int begin = words.fontMetrics.horizontalAdvance(words.text) + 2 * side;
    const QRect rest = option.rect.adjusted(begin, 0, -side, 0);
    const QFont font = m_theme.monoFont(TypeStyle::small);
    const QFontMetrics metrics(font);
    const QString raw = index.data(LogTableModel::kRawRole).toString();
    const QString shown = metrics.elidedText(raw, Qt::ElideRight, rest.width());
    if (rest.width() < metrics.averageCharWidth() * 6) {
        return; // a letter or two say nothing
    }
    painter->save();
    painter->setFont(font);
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    painter->setPen(m_theme.color(isSelected ? Color::text2 : Color::muted));
    painter->drawText(rest, int{Qt::AlignVCenter} | Qt::AlignLeft, shown);
    painter->restore();
}

LogTable::LogTable(const Theme &theme, LogTableModel &model, QWidget *parent) : TableView(theme, parent)
{
    setAccessibleName(tr("Log events"));
    setSortingEnabled(false); // newest first, always
    verticalHeader()->setDefaultSectionSize(theme.size(Size::rowCompact));
    setModel(&model);
    setItemDelegate(new LogDelegate(theme, model, this));
    for (const auto &[column, width] : kWidths) {
        setColumnWidth(column, width);
    }
    stretchAction();
    connect(&theme, &Theme::themeChanged, viewport(), qOverload<>(&QWidget::update));
}

void LogTable::stretchAction()
{
    QHeaderView &header = *horizontalHeader();
    header.setStretchLastSection(false);
    header.setMinimumSectionSize(std::min(header.minimumSectionSize(), kLeastAction));
    header.setSectionResizeMode(QHeaderView::Interactive);
    header.setSectionResizeMode(LogTableModel::action, QHeaderView::Stretch);
}

void LogTable::rowsInserted(const QModelIndex &parent, int start, int end)
{
    const int scrolled = verticalScrollBar()->value();
    TableView::rowsInserted(parent, start, end);
    if (start == 0 && scrolled > 0) {
        updateGeometries(); // the bar reaches further now
        verticalScrollBar()->setValue(scrolled + (end + 1) * verticalHeader()->defaultSectionSize());
    }
}

void LogTable::resizeEvent(QResizeEvent *event)
{
    TableView::resizeEvent(event);
    if (event->size().height() < event->oldSize().height() && selectionModel()->hasSelection()) {
        scrollTo(currentIndex());
    }
}

void LogTable::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy)) {
        Q_EMIT copyRequested();
    } else if (event->key() == Qt::Key_Escape && selectionModel()->hasSelection()) {
        clearSelection();
        setCurrentIndex({});
    } else {
        TableView::keyPressEvent(event);
    }
}

} // namespace gateway::shell
