#pragma once

#include "platform/descriptors/descriptor.h"

#include <QtCore/QString>

#include <sys/types.h>

#include <utility>

namespace gateway::platform {

/// Owns one open file descriptor, which programs started by this process don't inherit.
///
/// Thread: one at a time.
class FileDescriptor
{
public:
    /// Opens `path`, with O_CLOEXEC added to `flags`.
    ///
    /// \param operation  for the message of the error.
    /// \throws FileError
    static FileDescriptor open(const QString &path, int flags, const char *operation, mode_t mode = 0);

    int get() const { return m_descriptor.get(); }

    /// Waits until content and size are on the disk. \throws FileError
    void sync() const;

    /// Closes and reports what the file system had kept to itself until now. \throws FileError
    void close();

private:
    explicit FileDescriptor(Descriptor descriptor) : m_descriptor(std::move(descriptor)) {}

    Descriptor m_descriptor;
};

} // namespace gateway::platform
