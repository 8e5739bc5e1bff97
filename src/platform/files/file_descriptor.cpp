#include "platform/files/file_descriptor.h"

#include "platform/files/file_error.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace gateway::platform {

FileDescriptor FileDescriptor::open(const QString &path, int flags, const char *operation, mode_t mode)
{
    const QByteArray name = QFile::encodeName(path);
    for (;;) {
        const int descriptor = ::open(name.constData(), flags | O_CLOEXEC, mode);
        if (descriptor >= 0) {
            return FileDescriptor(descriptor);
        }
        if (errno != EINTR) {
            throw FileError(operation, errno);
        }
    }
}

FileDescriptor::~FileDescriptor()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

FileDescriptor &FileDescriptor::operator=(FileDescriptor &&other) noexcept
{
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
}

void FileDescriptor::sync() const
{
    while (::fsync(m_descriptor) != 0) {
        if (errno != EINTR) {
            throw FileError("write a file to the disk", errno);
        }
    }
}

void FileDescriptor::close()
{
    // Linux frees the descriptor even where it reports an interruption, so a second close would be wrong.
    if (::close(std::exchange(m_descriptor, -1)) != 0 && errno != EINTR) {
        throw FileError("close a file", errno);
    }
}

} // namespace gateway::platform
