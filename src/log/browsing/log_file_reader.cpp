#include "log/browsing/log_file_reader.h"

#include "platform/files/file_descriptor.h"
#include "platform/files/file_error.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::log {

namespace {

/// Stays in the processor's cache between reading and parsing.
constexpr std::size_t kPieceBytes = 1 << 20;

/// How much of what was read before is compared before a grown file is taken for the same one.
constexpr qint64 kEndBytes = 512;

qint64 nanoseconds(const timespec &time)
{
    return static_cast<qint64>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

/// The last bytes before `end`.
QByteArray endBefore(int descriptor, qint64 end)
{
    QByteArray bytes(std::min(end, kEndBytes), Qt::Uninitialized);
    const qsizetype read = readAt(descriptor, bytes.data(), bytes.size(), end - bytes.size());
    bytes.truncate(std::max<qsizetype>(read, 0));
    return bytes;
}

/// True when the open file begins with everything that `previous` has settled.
bool continues(int descriptor, const LogFileStamp &stamp, const LogFileRows &previous)
{
    return stamp.isSameFile(previous.stamp) && stamp.sizeBytes >= previous.settledBytes &&
           endBefore(descriptor, previous.settledBytes) == previous.settledEnd;
}

/// The part of `previous` that won't change as the file grows.
LogFileRows settledPart(const LogFileRows &previous)
{
    LogFileRows rows = previous;
    if (rows.settledRecords < rows.records.size()) {
        rows.words.resize(rows.records[rows.settledRecords].firstWord);
        rows.records.resize(rows.settledRecords);
    }
    return rows;
}

/// The length of the text up to its last line feed, this included.
qsizetype throughLastFeed(const char *text, qsizetype size)
{
    const void *feed = ::memrchr(text, '\n', static_cast<std::size_t>(size));
    return feed == nullptr ? 0 : static_cast<const char *>(feed) - text + 1;
}

void forgetContent(LogFileRows &rows)
{
    LogFileRows empty;
    empty.name = rows.name;
    empty.stamp = rows.stamp;
    empty.lineage = std::make_shared<const int>(0);
    rows = std::move(empty);
}

} // namespace

qsizetype readAt(int descriptor, char *to, qsizetype size, qint64 offset)
{
    qsizetype done = 0;
    while (done < size) {
        const ssize_t step =
            ::pread(descriptor, to + done, static_cast<std::size_t>(size - done), offset + done);
        if (step < 0 && errno == EINTR) {
            continue;
        }
        if (step < 0) {
            return -1;
        }
        if (step == 0) {
            break;
        }
        done += step;
    }
    return done;
}

LogFileStamp logFileStamp(const struct stat &status)
{
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .sizeBytes = status.st_size,
            .modifiedNanoseconds = nanoseconds(status.st_mtim),
            .changedNanoseconds = nanoseconds(status.st_ctim)};
}

LogFileReader::LogFileReader() : m_buffer(kPieceBytes + LogLineDecoder::kReadAhead) {}

std::shared_ptr<const LogFileRows> LogFileReader::read(const QString &path, const LogFileRows *previous)
{
    try {
        // A pipe that somebody left in the folder must not hold the reader up.
        const auto file = platform::FileDescriptor::open(path, O_RDONLY | O_NONBLOCK, "open a log file");
        struct stat status = {};
        if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
            return nullptr;
        }
        const LogFileStamp stamp = logFileStamp(status);
        LogFileRows rows;
        if (previous != nullptr && continues(file.get(), stamp, *previous)) {
            rows = settledPart(*previous);
        } else {
            rows.lineage = std::make_shared<const int>(0);
        }
        rows.name = QFileInfo(path).fileName();
        rows.stamp = stamp;
        if (!readFrom(file.get(), rows)) {
            return nullptr;
        }
        return std::make_shared<const LogFileRows>(std::move(rows));
    } catch (const platform::FileError &) {
        return nullptr;
    }
}

/// Reads on from the settled part. False when the file can't be read.
bool LogFileReader::readFrom(int descriptor, LogFileRows &rows)
{
    LogFileParser parser(rows, m_decoder);
    qsizetype held = 0; // bytes in the buffer that aren't taken yet: the beginning of a line
    for (bool hasMore = true; hasMore;) {
        if (held + LogLineDecoder::kReadAhead == std::ssize(m_buffer)) {
            m_buffer.resize(m_buffer.size() * 2);
        }
        const qsizetype room = std::ssize(m_buffer) - LogLineDecoder::kReadAhead - held;
        const qsizetype got = readAt(descriptor, m_buffer.data() + held, room, rows.settledBytes + held);
        if (got < 0) {
            return false;
        }
        hasMore = got == room;
        held += got;
        const qsizetype whole = throughLastFeed(m_buffer.data(), held);
        const QByteArrayView lines(m_buffer.data(), whole);
        if (!isUtf8(lines)) {
            forgetContent(rows);
            return true;
        }
        parser.take(lines, rows.settledBytes);
        rows.settledBytes += whole;
        rows.settledRecords = rows.records.size();
        held -= whole;
        std::memmove(m_buffer.data(), m_buffer.data() + whole, static_cast<std::size_t>(held));
    }
    const QByteArrayView tail(m_buffer.data(), held);
    if (!isUtf8(tail)) {
        forgetContent(rows);
        return true;
    }
    rows.settledEnd = endBefore(descriptor, rows.settledBytes);
    parser.take(tail, rows.settledBytes);
    rows.shrink();
    return true;
}

} // namespace gateway::log
