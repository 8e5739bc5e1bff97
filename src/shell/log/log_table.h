#pragma once

#include "shell/controls/table_view.h"

namespace gateway::shell {

class LogTableModel;

/// Paints the cells of the log: levels as chips, times and hashes in the font of such, outcomes in their
/// colour.
///
/// Owner: its table. Thread: main.
class LogDelegate : public TableDelegate
{
    Q_OBJECT

public:
    LogDelegate(const Theme &theme, const LogTableModel &model, QObject *parent);

    void
    paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

protected:
    void paintAction(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;

private:
    const Theme &m_theme;
    const LogTableModel &m_model;
};

/// The log's rows, newest on top. At its top it stays there while rows come; scrolled away from it, the rows
/// in sight stay in sight. The current row stays in sight when the table gets lower.
///
/// Owner: its parent. Thread: main.
class LogTable : public TableView
{
    Q_OBJECT

public:
    /// \param model  outlives this.
    LogTable(const Theme &theme, LogTableModel &model, QWidget *parent = nullptr);

    /// What happened takes the room that the other columns leave.
    void stretchAction();

Q_SIGNALS:
    /// The lines of the selected rows are wanted on the clipboard.
    void copyRequested();

protected:
    void rowsInserted(const QModelIndex &parent, int start, int end) override;
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace gateway::shell
