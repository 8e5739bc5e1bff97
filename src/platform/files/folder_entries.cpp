#include "platform/files/folder_entries.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace gateway::platform {

namespace {

constexpr qint64 kBlock = 512; // the unit of st_blocks, whatever the volume's own blocks are

struct Closer
{
    void operator()(DIR *folder) const { ::closedir(folder); }
};

std::optional<struct stat> statusOf(int folder, const QByteArray &name)
{
    struct stat status{};
    if (::fstatat(folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return std::nullopt;
    }
    return status;
}

FolderEntry::Kind kindOf(const struct stat &status)
{
    if (S_ISREG(status.st_mode)) {
        return FolderEntry::Kind::regularFile;
    }
    return S_ISDIR(status.st_mode) ? FolderEntry::Kind::folder : FolderEntry::Kind::other;
}

std::optional<FolderEntry::Kind> kindOf(unsigned char type)
{
    switch (type) {
    case DT_REG:
        return FolderEntry::Kind::regularFile;
    case DT_DIR:
        return FolderEntry::Kind::folder;
    case DT_UNKNOWN:
        return std::nullopt;
    default: // a number of the system's, not an enumeration of ours
        return FolderEntry::Kind::other;
    }
}

bool isDotOrDotDot(const char *name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

} // namespace

std::optional<FolderEntry::Kind> FolderEntry::kind() const
{
    if (m_kind) {
        return m_kind;
    }
    const auto status = statusOf(m_folder, m_name);
    return status ? std::optional(kindOf(*status)) : std::nullopt;
}

std::optional<qint64> FolderEntry::allocatedBytes() const
{
    const auto status = statusOf(m_folder, m_name);
    return status ? std::optional<qint64>(status->st_blocks * kBlock) : std::nullopt;
}

bool visitFolder(const QByteArray &path, const std::function<void(const FolderEntry &)> &visit)
{
    const std::unique_ptr<DIR, Closer> folder(::opendir(path.constData()));
    if (!folder) {
        return false;
    }
    while (true) {
        errno = 0;
        const dirent *entry = ::readdir(folder.get());
        if (entry == nullptr) {
            return errno == 0;
        }
        if (!isDotOrDotDot(entry->d_name)) {
            visit(FolderEntry(
                ::dirfd(folder.get()), QByteArray(entry->d_name), entry->d_ino, kindOf(entry->d_type)));
        }
    }
}

std::optional<std::chrono::nanoseconds> folderChangedAt(const QByteArray &path)
{
    struct stat status{};
    if (::stat(path.constData(), &status) != 0) {
        return std::nullopt;
    }
    return std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::nanoseconds(status.st_mtim.tv_nsec);
}

} // namespace gateway::platform
