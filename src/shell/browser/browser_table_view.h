#pragma once

#include "shell/controls/table_view.h"

#include <QtCore/QSet>

namespace gateway::browser {
class BrowserTable;
}

namespace gateway::shell {

class BrowserTableModel;

/// Paints the cells of a browser: states as chips, UIDs in the font of such, "Details" as a symbol.
///
/// Owner: its table. Thread: main.
class BrowserDelegate : public TableDelegate
{
    Q_OBJECT

public:
    BrowserDelegate(const Theme &theme,
                    const browser::BrowserTable &table,
                    const BrowserTableModel &model,
                    QObject *parent);

    void
    paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    void paintGround(QPainter *painter, QStyleOptionViewItem option) const;

    const Theme &m_theme;
    const browser::BrowserTable &m_table;
    const BrowserTableModel &m_model;
};

/// The rows of a browser. Its selection is the table's: rows that the search hides stay selected until a
/// person begins another selection.
///
/// Owner: its parent. Thread: main.
class BrowserTableView : public TableView
{
    Q_OBJECT

public:
    /// \param table, model  outlive this.
    BrowserTableView(const Theme &theme,
                     browser::BrowserTable &table,
                     BrowserTableModel &model,
                     QWidget *parent = nullptr);
    ~BrowserTableView() override;

    void selectAll() override;

    /// The id of the current row; empty when there is none.
    QString currentId() const;

Q_SIGNALS:
    void detailsRequested(const QString &id);
    void copyRequested();
    void deleteRequested();

protected:
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index,
                                                         const QEvent *event) const override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void setColumnWidths();
    void rememberPlace();
    void restorePlace();
    QItemSelection selectionOfTable() const;
    void forgetHiddenSelection() const;

    browser::BrowserTable &m_table;
    BrowserTableModel &m_model;
    bool m_isRestoring = false;
    QString m_currentId; // while the rows change
    QString m_topId;
    int m_currentColumn = 0;
    int m_topOffset = 0;
};

} // namespace gateway::shell
