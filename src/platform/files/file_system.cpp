#include "platform/files/file_system.h"

#include "platform/files/file_descriptor.h"

#include <QtCore/QFile>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

namespace gateway::platform {

namespace {

constexpr mode_t kOwnerFile = S_IRUSR | S_IWUSR;
constexpr mode_t kOwnerFolder = S_IRWXU;

void require(int result, const char *operation)
{
    if (result != 0) {
        throw FileError(operation, errno);
    }
}

/// A file that this step has just made; removed again unless the step came to its end.
class NewFile
{
public:
    explicit NewFile(const QString &path)
        : m_path(path),
          m_file(FileDescriptor::open(path, O_WRONLY | O_CREAT | O_EXCL, "make a file", kOwnerFile))
    {
    }

    ~NewFile()
    {
        if (!m_finished) {
            ::unlink(QFile::encodeName(m_path).constData());
        }
    }

    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    int descriptor() const { return m_file.get(); }

    void finish()
    {
        m_file.sync();
        m_file.close();
        m_finished = true;
    }

private:
    const QString m_path;
    FileDescriptor m_file;
    bool m_finished = false;
};

void writeAll(int descriptor, const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t written =
            ::write(descriptor, bytes.constData() + done, static_cast<std::size_t>(bytes.size() - done));
        if (written < 0 && errno != EINTR) {
            throw FileError("write a file", errno);
        }
        done += written > 0 ? written : 0;
    }
}

/// Copies from the present position to the end inside the kernel; works between any two volumes.
qint64 copyAll(int from, int to)
{
    constexpr std::size_t kMost = 0x7ffff000; // what the kernel moves in one call
    qint64 total = 0;
    for (;;) {
        const ssize_t copied = ::sendfile(to, from, nullptr, kMost);
        if (copied == 0) {
            return total;
        }
        if (copied < 0 && errno != EINTR) {
            throw FileError("copy a file", errno);
        }
        total += copied > 0 ? copied : 0;
    }
}

qint64 sizeOf(int descriptor)
{
    struct stat status{};
    require(::fstat(descriptor, &status), "read a file's size");
    return status.st_size;
}

/// For volumes that know no rename without replacing: a second name is never given to a file that exists.
void renameByLink(const QByteArray &from, const QByteArray &to)
{
    if (::link(from.constData(), to.constData()) == 0) {
        require(::unlink(from.constData()), "rename a file");
        return;
    }
    const bool hasNoLinks = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS || errno == EMLINK;
    if (!hasNoLinks) {
        throw FileError("rename a file", errno);
    }
    struct stat status{};
    if (::lstat(to.constData(), &status) == 0) {
        throw FileError("rename a file", EEXIST);
    }
    require(::rename(from.constData(), to.constData()), "rename a file");
}

class SystemFiles final : public FileSystem
{
public:
    void create(const QString &path, const QByteArray &bytes) override
    {
        NewFile file(path);
        writeAll(file.descriptor(), bytes);
        file.finish();
    }

    void copy(const QString &source, const QString &destination) override
    {
        const FileDescriptor from = FileDescriptor::open(source, O_RDONLY, "open a file");
        NewFile to(destination);
        if (::ioctl(to.descriptor(), FICLONE, from.get()) != 0) {
            const qint64 copied = copyAll(from.get(), to.descriptor());
            if (copied != sizeOf(from.get())) {
                throw FileError("copy the whole of a file", EIO);
            }
        }
        to.finish();
    }

    void link(const QString &source, const QString &destination) override
    {
        require(::link(QFile::encodeName(source).constData(), QFile::encodeName(destination).constData()),
                "link a file");
    }

    void rename(const QString &from, const QString &to) override
    {
        require(::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()),
                "rename a file");
    }

    void renameToNew(const QString &from, const QString &to) override
    {
        const QByteArray source = QFile::encodeName(from);
        const QByteArray destination = QFile::encodeName(to);
        if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, destination.constData(), RENAME_NOREPLACE) ==
            0) {
            return;
        }
        if (errno != EINVAL && errno != ENOSYS) {
            throw FileError("rename a file", errno);
        }
        renameByLink(source, destination);
    }

    void setModified(const QString &path, std::chrono::nanoseconds time) override
    {
        const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
        const timespec modified{seconds.count(), (time - seconds).count()};
        const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, modified};
        require(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times.data(), 0),
                "set a file's time");
    }

    void remove(const QString &path) override
    {
        require(::unlink(QFile::encodeName(path).constData()), "remove a file");
    }

    void makeFolder(const QString &path) override
    {
        require(::mkdir(QFile::encodeName(path).constData(), kOwnerFolder), "make a folder");
    }

    void syncFile(const QString &path) override
    {
        FileDescriptor::open(path, O_RDONLY, "open a file").sync();
    }

    void syncFolder(const QString &path) override
    {
        FileDescriptor::open(path, O_RDONLY | O_DIRECTORY, "open a folder").sync();
    }
};

} // namespace

FileSystem &systemFiles()
{
    static SystemFiles files;
    return files;
}

} // namespace gateway::platform
