#pragma once

#include "log/browsing/log_filter.h"
#include "log/browsing/log_row_reader.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QCache>

#include <memory>
#include <optional>

namespace gateway::shell {

/// A time of the log as all screens write it: local, "yyyy-MM-dd HH:mm:ss" in every language.
QString logTimeText(const QDateTime &time);

/// The log's rows as a table. It shares the rows with the log browser's model and reads from the files only
/// the lines that come into sight.
///
/// Owner: the log screen. Thread: main; reads single lines from the disk.
class LogTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        time,
        level,
        category,
        action,
        outcome,
        hash,
        columnTotal
    };

    /// The log's own word for what happened.
    static constexpr int kRawRole = Qt::UserRole;

    /// Names a row for as long as its file only grows, whatever comes above it.
    struct RowKey
    {
        std::shared_ptr<const int> lineage;
        quint32 record = 0;

        bool operator==(const RowKey &) const = default;
    };

    explicit LogTableModel(QObject *parent = nullptr);

    /// Shows these rows from now on. Where they are the former ones with new ones on top, only those are told
    /// of as inserted, so that selection and place stay; otherwise the model is reset.
    void show(log::FilteredLogRows rows);

    /// The row with its text; nothing when its line isn't in its file any more.
    std::optional<log::LogRow> row(int index) const;

    /// What is known of the row without its line.
    const log::LogRecord &record(int index) const;

    RowKey keyOf(int index) const;

    /// Where the row stands now; nothing when it isn't shown.
    std::optional<int> indexOf(const RowKey &key) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    bool continues(const log::FilteredLogRows &rows, int added) const;
    static QVariant asideOf(const log::LogRecord &known, int role);
    QString hashText(int index) const;
    void take(log::FilteredLogRows rows);

    log::FilteredLogRows m_shown;
    std::unique_ptr<log::LogRowReader> m_reader;
    mutable QCache<int, QString> m_hashes; // by index, of the rows that were in sight
};

} // namespace gateway::shell
