#pragma once

#include "platform/files/file_descriptor.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::platform {

/// Keeps two processes from working one home folder.
///
/// A lock of the system on a file, which holds the owner's process id for whoever comes second. The system
/// lets it go with the process, however that ends. Owner: the program's entry, for life. Thread: any.
class HomeLock
{
public:
    /// Takes the lock, making the file where it is missing.
    ///
    /// \return nothing when somebody else holds it, another HomeLock of this process included.
    /// \throws FileError  when the file can't be made or locked.
    static std::optional<HomeLock> tryLock(const QString &path);

    /// The process id of whoever holds the lock now; nothing when nobody does or it can't be read.
    static std::optional<qint64> owner(const QString &path);

    /// True when `path` still leads to the locked file, and not to a volume that isn't mounted any more, or
    /// was mounted since.
    bool isAt(const QString &path) const;

private:
    explicit HomeLock(FileDescriptor file) : m_file(std::move(file)) {}

    FileDescriptor m_file;
};

} // namespace gateway::platform
