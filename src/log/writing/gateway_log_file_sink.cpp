#include "log/writing/gateway_log_file_sink.h"

#include "log/writing/log_line.h"
#include "log/writing/redaction.h"
#include "platform/descriptors/descriptor.h"
#include "platform/files/files.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gateway::log {

namespace {

// Readable by the group, so that a site's log collector needs no more rights than that.
constexpr mode_t kFileMode = 0640;

bool writeWhole(int descriptor, const QByteArray &bytes)
{
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t step = ::write(
            descriptor, bytes.constData() + written, static_cast<std::size_t>(bytes.size() - written));
        if (step < 0 && errno == EINTR) {
            continue;
        }
        if (step <= 0) {
            return false;
        }
        written += step;
    }
    return true;
}

} // namespace

GatewayLogFileSink::GatewayLogFileSink(QString logDirectory,
                                       const platform::Clock &clock,
                                       qint64 maxFileSizeBytes,
                                       LogFolderRoom *room)
    : m_logDirectory(std::move(logDirectory)), m_clock(clock), m_maxFileSizeBytes(maxFileSizeBytes),
      m_room(room)
{
    QDir().mkpath(m_logDirectory);
}

void GatewayLogFileSink::write(const GatewayLogEvent &event)
{
    QByteArray record = encodeLogLine(event);
    record += '\n';
    rotateIfNeeded(record.size());
    if (append(record) && m_room != nullptr) {
        m_room->added(record.size());
    }
}

void GatewayLogFileSink::rotateIfNeeded(qsizetype incoming)
{
    // The size that the file system tells, not one counted here: it stays right when another process
    // removes or changes the file.
    std::optional<qint64> size;
    if (m_activeLogFile) {
        size = platform::fileSizeBytes(*m_activeLogFile);
    }
    if (!size) {
        beginNewFile();
        size = 0;
    }
    // A record larger than the limit goes alone into a file, and there is no use in leaving an empty one.
    if (*size > 0 && *size + incoming >= m_maxFileSizeBytes) {
        beginNewFile();
    }
}

void GatewayLogFileSink::beginNewFile()
{
    const QString name = QStringLiteral("gateway-transfer-") +
                         m_clock.now().toUTC().toString(QStringLiteral("yyyyMMdd-HHmmss")) + u'-' +
                         newUuidText().first(8) + QStringLiteral(".jsonl");
    m_activeLogFile = m_logDirectory + u'/' + name;
    const QByteArray path = QFile::encodeName(*m_activeLogFile);
    const auto create = [&path] {
        return platform::Descriptor(::open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, kFileMode))
            .isOpen();
    };
    if (!create() && errno == ENOENT && QDir().mkpath(m_logDirectory)) {
        create();
    }
    if (m_room != nullptr) {
        m_room->tidy(m_logDirectory, *m_activeLogFile, m_maxFileSizeBytes);
    }
}

bool GatewayLogFileSink::append(const QByteArray &record) const
{
    const platform::Descriptor file(
        ::open(QFile::encodeName(*m_activeLogFile).constData(), O_WRONLY | O_APPEND | O_CLOEXEC));
    if (!file.isOpen()) {
        return false;
    }
    struct stat before = {};
    const bool known = ::fstat(file.get(), &before) == 0;
    const bool whole = writeWhole(file.get(), record);
    if (!whole && known) {
        // Half a record on a full disk would spoil the next one too.
        static_cast<void>(::ftruncate(file.get(), before.st_size));
    }
    return whole;
}

} // namespace gateway::log
