#pragma once

#include "log/browsing/log_file_rows.h"
#include "platform/files/file_system.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace gateway::log {

/// All rows of a log folder as one read found them, newest first, filtered by nothing.
///
/// A row costs some hundred bytes here, whatever its line is long: the texts stay in the files, from where a
/// LogRowReader takes them.
///
/// Owner: whoever looks at them, shared. Thread: any; never changed once it is made.
class LogRows
{
public:
    using Files = std::vector<std::shared_ptr<const LogFileRows>>;

    /// One row's place: a file, and the record in it.
    struct Place
    {
        quint32 file = 0;
        quint32 record = 0;
    };

    /// No rows.
    LogRows() = default;

    /// \param directory  that the files were read from.
    /// \param files      newest first.
    /// \param rowLimit   the most rows to keep, the newest ones; all without it.
    LogRows(QString directory, Files files, std::optional<qsizetype> rowLimit = std::nullopt);

    /// How many rows there are.
    qsizetype count() const { return static_cast<qsizetype>(m_places.size()); }

    /// What is known of a row without reading its line. `position` counts from 0, the newest row.
    const LogRecord &record(qsizetype position) const;

    const Place &place(qsizetype position) const { return m_places[static_cast<std::size_t>(position)]; }
    const LogFileRows &file(const Place &place) const { return *m_files[place.file]; }
    const QString &directory() const { return m_directory; }
    const Files &files() const { return m_files; }

private:
    QString m_directory;
    Files m_files;
    std::vector<Place> m_places; // in the order of the rows
};

/// Reads the log files of a folder: those with the extension "jsonl" in any case, newest first. Of a file
/// that `previous` knows only what was added is read, of an unchanged one nothing.
///
/// A file that can't be read, is empty or isn't UTF-8 throughout gives no rows, nor does a line that is no
/// record; both are tried again when the file has changed. A folder that doesn't exist has no files.
///
/// \param rowLimit  the most rows to read; the rest of the files is then left alone.
/// \param previous  what an earlier read of the same folder gave; not null.
/// \param stop      ends the read between two files, with `previous` as its result.
/// \return `previous` itself when nothing has changed.
/// \throws platform::FileError  when the folder can't be listed.
///
/// Thread: any; blocks.
std::shared_ptr<const LogRows> readLogRows(const QString &directory,
                                           std::optional<qsizetype> rowLimit,
                                           std::shared_ptr<const LogRows> previous,
                                           const std::stop_token &stop);

/// Removes the log files of a folder, one after another; other files stay. A folder that doesn't exist has
/// none, and a file that is gone already counts as removed.
///
/// \throws platform::FileError  when the folder can't be listed, or at the first file that can't be removed;
///                              those behind it then stay.
///
/// Thread: any; blocks.
void removeLogFiles(const QString &directory, platform::FileSystem &files = platform::systemFiles());

} // namespace gateway::log
