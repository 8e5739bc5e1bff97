#pragma once

#include "browser/browser_table.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QString>

#include <memory>
#include <optional>

namespace gateway::shell {

/// The shown rows of a browser's table as Qt's views want them; studies have a column "Details" in front.
///
/// Rows that only have other values are told of as changed, so that selection and place stay; else the model
/// is reset.
///
/// Owner: the panel. Thread: main.
class BrowserTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// \param table  outlives this.
    explicit BrowserTableModel(browser::BrowserTable &table, QObject *parent = nullptr);

    /// How many columns stand before those of the rows.
    int leadingColumns() const { return m_leading; }
    bool isDetails(int column) const { return column < m_leading; }

    QString idAt(int row) const;

    /// Where the row with this id is shown; nothing when it isn't.
    std::optional<int> rowOf(const QString &id) const;

    /// A cell as it is copied.
    QString cellText(const QModelIndex &index) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void sort(int column, Qt::SortOrder order) override;

private:
    void take();
    bool hasSameRows() const;
    bool isNumber(int column) const;

    browser::BrowserTable &m_table;
    const int m_leading;
    int m_columns = 0;
    std::shared_ptr<const browser::TableRows> m_rows;
    browser::RowOrder m_shown;
};

/// The columns of whole numbers, and those of UIDs, by the table's own count.
bool isNumberColumn(browser::TableKind kind, int column);
bool isUidColumn(browser::TableKind kind, int column);
std::optional<int> stateColumn(browser::TableKind kind);

} // namespace gateway::shell
