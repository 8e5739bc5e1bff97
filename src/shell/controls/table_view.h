#pragma once

#include <QtCore/QPoint>
#include <QtWidgets/QStyledItemDelegate>
#include <QtWidgets/QTableView>

#include <optional>

namespace gateway::shell {

class Theme;

/// Paints the cells of a TableView: the whole row below the pointer is marked, not one cell of it.
///
/// Owner: its table. Thread: main.
class TableDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};

/// A table as it lies in a card: flat, whole rows selected and marked below the pointer, one line a row,
/// header sticky with sort arrow, columns movable and resizable.
///
/// Owner: its parent. Thread: main.
class TableView : public QTableView
{
    Q_OBJECT

public:
    explicit TableView(const Theme &theme, QWidget *parent = nullptr);

    /// The row below the pointer; -1 when there is none.
    int hoveredRow() const { return m_hoveredRow; }

    /// Columns that are narrower than their title get as wide as it is: a language has longer ones than the
    /// one in which widths were kept.
    void widenToTitles();

protected:
    bool viewportEvent(QEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    void hover(std::optional<QPoint> pointer);
    void updateRow(int row);

    std::optional<QPoint> m_pointer; // in the viewport
    int m_hoveredRow = -1;
};

} // namespace gateway::shell
