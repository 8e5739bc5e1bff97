#pragma once

#include "log/browsing/log_filter.h"
#include "log/browsing/log_row_reader.h"
#include "terminal/commands/command_line.h"
#include "terminal/control/control_protocol.h"

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayView>
#include <QtCore/QDateTime>
#include <QtCore/QString>

#include <functional>
#include <map>
#include <memory>

namespace gateway::terminal {

/// Prints the rows of a log folder that pass a filter, oldest first, each of them once.
///
/// Owner: the command that shows the log. Thread: one at a time; reads files and writes what it is given to
/// write to.
class LogPrinter
{
public:
    /// How a row becomes a line.
    enum class Form
    {
        text, ///< for people
        json  ///< as it stands in the file
    };

    /// Takes some lines; false when no more are wanted.
    using Write = std::function<bool(QByteArrayView lines)>;

    /// What of the rows that pass the filter is too old to be shown.
    struct Bounds
    {
        std::optional<qint64> newest = {}; ///< how many at the first print; later ones show all that is new
        qint64 fromSecondsSinceEpoch = 0;
    };

    LogPrinter(QString folder, log::LogFilter filter, Form form, Write write, Bounds bounds);

    /// Reads the folder and prints the rows that are new since the last call; all at the first.
    ///
    /// \return false when no more are wanted.
    /// \throws platform::FileError  when the folder can't be listed.
    bool print();

private:
    bool isNew(const log::LogRows::Place &place) const;
    qsizetype oldestShown(const log::FilteredLogRows &shown) const;
    QByteArray line(log::LogRowReader &reader, qsizetype position) const;
    void notePrinted();

    const QString m_folder;
    const log::LogFilter m_filter;
    const Form m_form;
    const Write m_write;
    const Bounds m_bounds;
    bool m_isFirst = true;
    std::shared_ptr<const log::LogRows> m_rows = std::make_shared<const log::LogRows>();
    std::map<std::shared_ptr<const int>, std::size_t> m_printed; // how many records, by the files' lineage
};

/// A row as one line for people, its line feed included: local time, level, category, action and outcome,
/// then what else there is as key=value. Nothing in it steers a terminal.
QByteArray logText(const log::LogRow &row);

/// The moment that --since names: a length of time before `now` ("90m", "12h", "7d"), or a local date or time
/// in the form of ISO 8601; nothing for any other text.
std::optional<QDateTime> momentSince(const QString &text, const QDateTime &now);

/// Shows the log of a home; no instance needs to run. Without `follow` it ends when all is printed, with it
/// when it is interrupted or nobody reads any more.
///
/// Thread: main; blocks, in an event loop of its own while it follows.
ExitCode showLogs(const QString &logFolder, const LogsCommand &command);

} // namespace gateway::terminal
