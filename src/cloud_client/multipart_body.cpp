#include "cloud_client/multipart_body.h"

#include <QtCore/QFile>
#include <QtCore/QUuid>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace gateway::cloud_client {

namespace {

std::optional<FileIdentity> identityOf(int descriptor)
{
    struct stat state = {};
    if (::fstat(descriptor, &state) != 0 || !S_ISREG(state.st_mode)) {
        return std::nullopt;
    }
    return FileIdentity{state.st_size,
                        state.st_dev,
                        state.st_ino,
                        qint64{state.st_mtim.tv_sec} * 1'000'000'000 + state.st_mtim.tv_nsec};
}

qint64 copySlice(const QByteArray &bytes, qint64 offset, char *buffer, qint64 capacity)
{
    const qint64 count = std::min(capacity, bytes.size() - offset);
    std::memcpy(buffer, bytes.constData() + offset, static_cast<std::size_t>(count));
    return count;
}

} // namespace

std::optional<ReadableFile> ReadableFile::open(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    platform::Descriptor descriptor(::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    const std::optional<FileIdentity> identity = identityOf(descriptor.get());
    if (!identity) {
        return std::nullopt;
    }
    ::posix_fadvise(descriptor.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    return ReadableFile(std::move(descriptor), *identity);
}

ReadableFile::ReadableFile(platform::Descriptor descriptor, FileIdentity identity)
    : m_descriptor(std::move(descriptor)), m_identity(identity)
{
}

qint64 ReadableFile::read(qint64 offset, char *buffer, qint64 capacity) const
{
    for (;;) {
        const ssize_t count = ::pread(m_descriptor.get(), buffer, static_cast<std::size_t>(capacity), offset);
        if (count >= 0 || errno != EINTR) {
            return count;
        }
    }
}

bool ReadableFile::isUnchanged() const
{
    return identityOf(m_descriptor.get()) == m_identity;
}

MultipartBody::MultipartBody(QList<BodyPart> parts)
    : m_parts(std::move(parts)), m_boundary("quorin-" + QUuid::createUuid().toByteArray(QUuid::Id128)),
      m_tail("\r\n--" + m_boundary + "--\r\n")
{
    for (qsizetype part = 0; part < m_parts.size(); ++part) {
        m_size += head(part).size() + m_parts[part].contentSize();
        m_ends.append(m_size);
    }
    m_size += m_tail.size();
}

QByteArray MultipartBody::head(qsizetype part) const
{
    return (part == 0 ? QByteArray("--") : QByteArray("\r\n--")) + m_boundary + "\r\n" +
           m_parts[part].headers + "\r\n";
}

qint64 MultipartBody::read(char *buffer, qint64 capacity)
{
    qint64 filled = 0;
    while (filled < capacity && m_position < m_size) {
        const auto end = std::upper_bound(m_ends.begin(), m_ends.end(), m_position);
        const qsizetype part = end - m_ends.begin();
        const qint64 start = part == 0 ? 0 : m_ends[part - 1];
        const qint64 count = part == m_parts.size()
                                 ? copySlice(m_tail, m_position - start, buffer + filled, capacity - filled)
                                 : readPart(part, m_position - start, buffer + filled, capacity - filled);
        filled += count;
        m_position += count;
    }
    return filled;
}

qint64 MultipartBody::readPart(qsizetype part, qint64 offset, char *buffer, qint64 capacity)
{
    const QByteArray lines = head(part);
    if (offset < lines.size()) {
        return copySlice(lines, offset, buffer, capacity);
    }
    const qint64 within = offset - lines.size();
    return m_parts[part].path.isEmpty() ? copySlice(m_parts[part].bytes, within, buffer, capacity)
                                        : readFile(part, within, buffer, capacity);
}

qint64 MultipartBody::readFile(qsizetype part, qint64 offset, char *buffer, qint64 capacity)
{
    const BodyPart &wanted = m_parts[part];
    if (m_openPart != part) {
        m_file = ReadableFile::open(wanted.path);
        m_openPart = part;
        if (!m_file || m_file->identity() != wanted.identity) {
            throw FileChanged(part);
        }
    }
    const qint64 left = wanted.identity.size - offset;
    const qint64 count = m_file->read(offset, buffer, std::min(capacity, left));
    // At the end the file is looked at once more: had it been written to meanwhile, the bytes that went out
    // would be a mixture.
    if (count <= 0 || (count == left && !m_file->isUnchanged())) {
        throw FileChanged(part);
    }
    return count;
}

void MultipartBody::seek(qint64 offset)
{
    m_position = std::clamp<qint64>(offset, 0, m_size);
}

} // namespace gateway::cloud_client
