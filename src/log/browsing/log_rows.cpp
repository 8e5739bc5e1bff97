#include "log/browsing/log_rows.h"

#include "log/browsing/log_file_reader.h"
#include "platform/files/file_error.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <system_error>
#include <tuple>
#include <utility>

#include <sys/stat.h>

namespace gateway::log {

namespace {

struct FoundFile
{
    QString name;
    LogFileStamp stamp;
};

bool hasLogExtension(const QString &name)
{
    // A name that is nothing but an extension has none.
    static const QString extension = QStringLiteral(".jsonl");
    return name.size() > extension.size() && name.endsWith(extension, Qt::CaseInsensitive);
}

/// The names of everything in the folder that bears a log file's extension.
QStringList logFileNames(const QString &directory)
{
    std::error_code error;
    QStringList names;
    std::filesystem::directory_iterator entry(QFile::encodeName(directory).toStdString(), error);
    if (error == std::errc::no_such_file_or_directory) {
        return names;
    }
    while (!error && entry != std::filesystem::directory_iterator()) {
        const QString name = QFile::decodeName(entry->path().filename().string().c_str());
        if (hasLogExtension(name)) {
            names.append(name);
        }
        entry.increment(error);
    }
    if (error) {
        throw platform::FileError("list the log folder", error.value());
    }
    names.sort(); // so that what depends on the order doesn't depend on the file system
    return names;
}

/// The log files by their modification date, newest first; a file whose date can't be read comes last.
std::vector<FoundFile> newestFirst(const QString &directory)
{
    std::vector<FoundFile> found;
    for (const QString &name : logFileNames(directory)) {
        struct stat status = {};
        const QByteArray path = QFile::encodeName(directory + u'/' + name);
        const bool isKnown = ::stat(path.constData(), &status) == 0;
        found.push_back({name, isKnown ? logFileStamp(status) : LogFileStamp()});
    }
    // Names carry the time at which a file was begun: of equal dates the later name is the newer file.
    std::ranges::sort(found, std::greater(), [](const FoundFile &file) {
        return std::pair(file.stamp.modifiedNanoseconds, file.name);
    });
    return found;
}

/// A row on its way to its place in the list.
struct Dated
{
    qint64 secondsSinceEpoch;
    LogRows::Place place;
};

/// Newest first; within a second the newer file, and in a file the later line.
bool isBefore(const Dated &left, const Dated &right)
{
    return std::tuple(right.secondsSinceEpoch, left.place.file, right.place.record) <
           std::tuple(left.secondsSinceEpoch, right.place.file, left.place.record);
}

using FilesByName = std::map<QString, std::shared_ptr<const LogFileRows>>;

FilesByName byName(const LogRows &rows)
{
    FilesByName files;
    for (const auto &file : rows.files()) {
        files.emplace(file->name, file);
    }
    return files;
}

} // namespace

LogRows::LogRows(QString directory, Files files, std::optional<qsizetype> rowLimit)
    : m_directory(std::move(directory)), m_files(std::move(files))
{
    std::size_t all = 0;
    for (const auto &file : m_files) {
        all += file->records.size();
    }
    const std::size_t limit = rowLimit ? static_cast<std::size_t>(std::max<qsizetype>(*rowLimit, 0)) : all;
    std::vector<Dated> dated;
    dated.reserve(std::min(all, limit));
    for (std::size_t file = 0; file < m_files.size(); ++file) {
        const std::vector<LogRecord> &records = m_files[file]->records;
        for (std::size_t record = records.size(); record > 0 && dated.size() < limit; --record) {
            dated.push_back({records[record - 1].secondsSinceEpoch,
                             {static_cast<quint32>(file), static_cast<quint32>(record - 1)}});
        }
    }
    // The files of one process follow each other, so that there is often nothing to sort.
    if (!std::ranges::is_sorted(dated, isBefore)) {
        std::ranges::sort(dated, isBefore);
    }
    m_places.reserve(dated.size());
    for (const Dated &row : dated) {
        m_places.push_back(row.place);
    }
}

const LogRecord &LogRows::record(qsizetype position) const
{
    const Place &at = place(position);
    return m_files[at.file]->records[at.record];
}

std::shared_ptr<const LogRows> readLogRows(const QString &directory,
                                           std::optional<qsizetype> rowLimit,
                                           std::shared_ptr<const LogRows> previous,
                                           const std::stop_token &stop)
{
    const FilesByName known = byName(*previous);
    LogFileReader reader;
    LogRows::Files files;
    qsizetype rows = 0;
    for (const FoundFile &found : newestFirst(directory)) {
        if (stop.stop_requested()) {
            return previous;
        }
        if (rowLimit && rows >= *rowLimit) {
            break;
        }
        const auto former = known.find(found.name);
        const bool isKnown = former != known.end();
        std::shared_ptr<const LogFileRows> file =
            isKnown && former->second->stamp == found.stamp
                ? former->second
                : reader.read(directory + u'/' + found.name, isKnown ? former->second.get() : nullptr);
        if (file) {
            rows += static_cast<qsizetype>(file->records.size());
            files.push_back(std::move(file));
        }
    }
    if (previous->directory() == directory && previous->files() == files) {
        return previous;
    }
    return std::make_shared<const LogRows>(directory, std::move(files), rowLimit);
}

void removeLogFiles(const QString &directory, platform::FileSystem &files)
{
    for (const QString &name : logFileNames(directory)) {
        try {
            files.remove(directory + u'/' + name);
        } catch (const platform::FileError &error) {
            // A folder of that name holds nothing of the log's.
            if (error.code() != ENOENT && error.code() != EISDIR) {
                throw;
            }
        }
    }
}

} // namespace gateway::log
