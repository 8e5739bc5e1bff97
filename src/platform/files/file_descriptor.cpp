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
        Descriptor descriptor(::open(name.constData(), flags | O_CLOEXEC, mode));
        if (descriptor.isOpen()) {
            return FileDescriptor(std::move(descriptor));
        }
        if (errno != EINTR) {
            throw FileError(operation, errno);
        }
    }
}

void FileDescriptor::sync() const
{
    while (::fsync(m_descriptor.get()) != 0) {
        if (errno != EINTR) {
            throw FileError("write a file to the disk", errno);
        }
    }
}

void FileDescriptor::close()
{
    if (m_descriptor.close() != 0 && errno != EINTR) {
        throw FileError("close a file", errno);
    }
}

} // namespace gateway::platform
