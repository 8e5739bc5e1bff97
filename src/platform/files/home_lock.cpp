#include "platform/files/home_lock.h"

#include "platform/files/file_error.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace gateway::platform {

namespace {

/// \return false when somebody else holds the lock.
bool lockFile(const FileDescriptor &file, int kind)
{
    for (;;) {
        if (::flock(file.get(), kind | LOCK_NB) == 0) {
            return true;
        }
        if (errno == EWOULDBLOCK) {
            return false;
        }
        if (errno != EINTR) {
            throw FileError("lock the home folder", errno);
        }
    }
}

/// Who it is, for whoever asks; on a full disk nobody learns it, and the lock holds all the same.
void writeOwner(const FileDescriptor &file)
{
    const QByteArray text = QByteArray::number(static_cast<qint64>(::getpid())) + '\n';
    if (::ftruncate(file.get(), 0) == 0) {
        [[maybe_unused]] const ssize_t written =
            ::pwrite(file.get(), text.constData(), static_cast<std::size_t>(text.size()), 0);
    }
}

} // namespace

std::optional<HomeLock> HomeLock::tryLock(const QString &path)
{
    FileDescriptor file =
        FileDescriptor::open(path, O_RDWR | O_CREAT, "open the home folder's lock", S_IRUSR | S_IWUSR);
    if (!lockFile(file, LOCK_EX)) {
        return std::nullopt;
    }
    writeOwner(file);
    return HomeLock(std::move(file));
}

bool HomeLock::isAt(const QString &path) const
{
    struct stat locked{};
    struct stat named{};
    return ::fstat(m_file.get(), &locked) == 0 && ::stat(QFile::encodeName(path).constData(), &named) == 0 &&
           locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
}

std::optional<qint64> HomeLock::owner(const QString &path)
{
    try {
        const FileDescriptor file = FileDescriptor::open(path, O_RDONLY, "open the home folder's lock");
        if (lockFile(file, LOCK_SH)) {
            return std::nullopt;
        }
        std::array<char, 32> text{};
        const ssize_t size = ::pread(file.get(), text.data(), text.size(), 0);
        bool isNumber = false;
        const qint64 owner =
            QByteArray(text.data(), std::max<ssize_t>(size, 0)).trimmed().toLongLong(&isNumber);
        return isNumber ? std::optional(owner) : std::nullopt;
    } catch (const FileError &) {
        return std::nullopt;
    }
}

} // namespace gateway::platform
