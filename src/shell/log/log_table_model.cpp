#include "shell/log/log_table_model.h"

#include "shell/log/log_event_words.h"
#include "shell/log/log_screen_words.h"

#include <QtCore/QLocale>

#include <utility>

namespace gateway::shell {

namespace {

constexpr int kHashesKept = 2000; // some screens' worth

log::FilteredLogRows noRows()
{
    return {std::make_shared<const log::LogRows>(), {}};
}

const std::shared_ptr<const int> &lineageOf(const log::LogRows &rows, quint32 position)
{
    return rows.file(rows.place(position)).lineage;
}

} // namespace

QString logTimeText(const QDateTime &time)
{
    return QLocale::c().toString(time.toLocalTime(), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

LogTableModel::LogTableModel(QObject *parent) : QAbstractTableModel(parent), m_hashes(kHashesKept)
{
    take(noRows());
}

void LogTableModel::take(log::FilteredLogRows rows)
{
    if (m_reader == nullptr || m_reader->rows() != rows.rows) {
        m_reader = std::make_unique<log::LogRowReader>(rows.rows);
    }
    m_shown = std::move(rows);
    m_hashes.clear();
}

bool LogTableModel::continues(const log::FilteredLogRows &rows, int added) const
{
    for (std::size_t index = 0; index < m_shown.positions.size(); ++index) {
        const quint32 before = m_shown.positions[index];
        const quint32 now = rows.positions[index + static_cast<std::size_t>(added)];
        if (m_shown.rows->place(before).record != rows.rows->place(now).record ||
            lineageOf(*m_shown.rows, before) != lineageOf(*rows.rows, now)) {
            return false;
        }
    }
    return true;
}

void LogTableModel::show(log::FilteredLogRows rows)
{
    const auto added = static_cast<int>(rows.count() - m_shown.count());
    if (m_shown.count() == 0 || added < 0 || !continues(rows, added)) {
        beginResetModel();
        take(std::move(rows));
        endResetModel();
    } else if (added == 0) {
        take(std::move(rows));
    } else {
        beginInsertRows({}, 0, added - 1);
        take(std::move(rows));
        endInsertRows();
    }
}

std::optional<log::LogRow> LogTableModel::row(int index) const
{
    return m_reader->row(m_shown.position(index));
}

const log::LogRecord &LogTableModel::record(int index) const
{
    return m_shown.rows->record(m_shown.position(index));
}

LogTableModel::RowKey LogTableModel::keyOf(int index) const
{
    const log::LogRows::Place &place = m_shown.rows->place(m_shown.position(index));
    return {m_shown.rows->file(place).lineage, place.record};
}

std::optional<int> LogTableModel::indexOf(const RowKey &key) const
{
    for (int index = 0; index < rowCount(); ++index) {
        const quint32 position = m_shown.positions[static_cast<std::size_t>(index)];
        if (m_shown.rows->place(position).record == key.record &&
            lineageOf(*m_shown.rows, position) == key.lineage) {
            return index;
        }
    }
    return std::nullopt;
}

int LogTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_shown.count());
}

int LogTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : columnTotal;
}

QString LogTableModel::hashText(int index) const
{
    if (const QString *known = m_hashes.object(index)) {
        return *known;
    }
    const std::optional<log::LogRow> read = row(index);
    const QString text =
        read ? read->event.fileHash.value_or(read->event.assocHash.value_or(QString())) : QString();
    m_hashes.insert(index, new QString(text)); // the cache owns it
    return text;
}

/// What happened in the log's own word, and in both for those who hear it or ask.
QVariant LogTableModel::asideOf(const log::LogRecord &known, int role)
{
    const QString raw(rawValue(known.action));
    return role == kRawRole ? raw : tr("%1 (%2)").arg(wordsFor(known.action), raw);
}

QVariant LogTableModel::data(const QModelIndex &index, int role) const
{
    const bool isWanted = role == Qt::DisplayRole || role == Qt::ToolTipRole || role == kRawRole ||
                          role == Qt::AccessibleTextRole;
    if (!isWanted || !checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const log::LogRecord &known = record(index.row());
    if (role != Qt::DisplayRole) {
        return index.column() == action ? asideOf(known, role) : QVariant();
    }
    switch (index.column()) {
    case time:
        return logTimeText(QDateTime::fromSecsSinceEpoch(known.secondsSinceEpoch, Qt::UTC));
    case level:
        return wordFor(known.level);
    case category:
        return wordFor(known.category);
    case action:
        return wordsFor(known.action);
    case outcome:
        return wordFor(known.outcome);
    default:
        return hashText(index.row());
    }
}

QVariant LogTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal) {
        return {};
    }
    switch (section) {
    case time:
        return tr("Time");
    case level:
        return tr("Level");
    case category:
        return tr("Category");
    case action:
        return tr("Action");
    case outcome:
        return tr("Outcome");
    default:
        return tr("Hash");
    }
}

} // namespace gateway::shell
