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

namespace gateway::shell {

namespace {

constexpr int kChipLeft = 12; // where the words of the other columns begin

constexpr struct
{
    LogTableModel::Column column;
    int width;
} kWidths[] = {{LogTableModel::time, 176},
               {LogTableModel::level, 104},
               {LogTableModel::category, 140},
               {LogTableModel::action, 304},
               {LogTableModel::outcome, 116}};

} // namespace

LogDelegate::LogDelegate(const Theme &theme, const LogTableModel &model, QObject *parent)
    : QStyledItemDelegate(parent), m_theme(theme), m_model(model)
{
}

void LogDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
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
    if (index.column() != LogTableModel::level) {
        QStyledItemDelegate::paint(painter, option, index);
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
    connect(&theme, &Theme::themeChanged, viewport(), qOverload<>(&QWidget::update));
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
