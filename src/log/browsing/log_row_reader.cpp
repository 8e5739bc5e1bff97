#include "log/browsing/log_row_reader.h"

#include "log/browsing/log_file_reader.h"
#include "platform/files/file_descriptor.h"
#include "platform/files/file_error.h"

#include <fcntl.h>

namespace gateway::log {

namespace {

bool isSame(const LogRecord &record, const GatewayLogEvent &event)
{
    return record.secondsSinceEpoch == event.timestamp.toSecsSinceEpoch() && record.level == event.level &&
           record.category == event.category && record.action == event.action &&
           record.outcome == event.outcome;
}

} // namespace

LogRowReader::LogRowReader(std::shared_ptr<const LogRows> rows) : m_rows(std::move(rows)) {}

LogRowReader::~LogRowReader() = default;

std::optional<LogRow> LogRowReader::row(qsizetype position)
{
    const std::optional<QByteArray> line = rawLine(position);
    std::optional<GatewayLogEvent> event = line ? m_decoder.decode(*line) : std::nullopt;
    // Where the file was written anew in its place, another line may stand there.
    if (!event || !isSame(m_rows->record(position), *event)) {
        return std::nullopt;
    }
    const QString sourceFile = m_rows->file(m_rows->place(position)).name;
    QString id = event->eventId + u'-' + sourceFile;
    return LogRow{std::move(id), *std::move(event), sourceFile, QString::fromUtf8(*line)};
}

std::optional<QByteArray> LogRowReader::rawLine(qsizetype position)
{
    if (!open(m_rows->place(position).file)) {
        return std::nullopt;
    }
    const LogRecord &record = m_rows->record(position);
    QByteArray line(static_cast<qsizetype>(record.length), Qt::Uninitialized);
    const qsizetype read = readAt(m_file->get(), line.data(), line.size(), record.offset);
    return read == line.size() ? std::optional(line) : std::nullopt;
}

/// Makes the file the open one. False when it can't be opened or is another by now.
bool LogRowReader::open(quint32 file)
{
    if (m_openFile == file) {
        return true;
    }
    m_openFile.reset();
    m_file.reset();
    const LogFileRows &rows = *m_rows->files()[file];
    try {
        auto opened = platform::FileDescriptor::open(
            m_rows->directory() + u'/' + rows.name, O_RDONLY | O_NONBLOCK, "open a log file");
        struct stat status = {};
        if (::fstat(opened.get(), &status) != 0 || !logFileStamp(status).isSameFile(rows.stamp)) {
            return false;
        }
        m_file = std::make_unique<platform::FileDescriptor>(std::move(opened));
    } catch (const platform::FileError &) {
        return false;
    }
    m_openFile = file;
    return true;
}

} // namespace gateway::log
