#pragma once

#include "platform/files/file_system.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <chrono>
#include <optional>

namespace gateway::platform {

// Durable operations. When one has returned, its effect survives a power cut. Each throws FileError.
// Thread: any.

/// Gives `path` the content `bytes`, whole or not at all: readers see the old content or the new, also
/// after a failure and after a power cut. The file is readable for its owner alone. One writer at a time:
/// what stands beside the file of one that was cut off, goes.
void writeFileDurably(const QString &path, const QByteArray &bytes, FileSystem &files = systemFiles());

/// True for the name that stands beside the file at `path` while it is written.
bool isPartOf(const QString &path, const QString &name);

/// Waits until the content of a file is on the disk.
void syncFile(const QString &path, FileSystem &files = systemFiles());

/// Waits until the names in a folder are on the disk.
void syncFolder(const QString &path, FileSystem &files = systemFiles());

/// How `copyForStore` may come by the new file.
enum class CopyManner
{
    ownContent, ///< later writes to the source must not show in the copy
    mayLink     ///< nobody writes to the source any more: a second name on one volume is copy enough
};

/// Makes `destination`, which must not exist, hold what `source` holds; the source is left alone. After a
/// failure there is no destination, or the one that stood there before.
void copyForStore(const QString &source,
                  const QString &destination,
                  CopyManner manner = CopyManner::ownContent,
                  FileSystem &files = systemFiles());

/// Renames within a volume, over a file that may stand at `to`. After a failure the file has one of the two
/// names: the old one unless the sync was what failed.
void renameDurably(const QString &from, const QString &to, FileSystem &files = systemFiles());

/// Makes a folder and those above it that are missing, each for its owner alone. A folder that exists is
/// no failure.
void makeFoldersDurably(const QString &path, FileSystem &files = systemFiles());

// Questions. Thread: any.

/// The length of a regular file, in bytes; nothing when there is none or it can't be asked.
std::optional<qint64> fileSizeBytes(const QString &path);

/// Which file a name stands for, and what of it tells it from others.
struct FileIdentity
{
    quint64 volume = 0;
    quint64 number = 0; ///< the inode's
    quint64 names = 0;  ///< how many names it has
    qint64 bytes = 0;
    std::chrono::nanoseconds modified{0}; ///< since 1970, UTC

    /// True for two names of one file.
    bool isSameFile(const FileIdentity &other) const
    {
        return volume == other.volume && number == other.number;
    }
};

/// The identity of a regular file; nothing when there is none or it can't be asked.
std::optional<FileIdentity> fileIdentity(const QString &path);

/// The same. \throws FileError  EINVAL where something else than a regular file stands there
FileIdentity fileIdentityOrThrow(const QString &path);

/// True when it is certain that nothing stands at `path`: its folder is there, and has no such name. What
/// can't be asked, because a disk fails, a share is away or the way is closed, is not certain.
bool isKnownToBeAbsent(const QString &path);

/// True when both paths lead to regular files that could be read whole and hold the same bytes.
bool haveSameContent(const QString &path, const QString &other);

/// False when a file can't be opened or not be read to its end, whatever the reason.
bool isReadable(const QString &path);

/// Room on a volume, in bytes.
struct VolumeFigures
{
    qint64 totalBytes = 0;
    qint64 availableBytes = 0; ///< for this user; never negative

    bool operator==(const VolumeFigures &) const = default;
};

/// The figures of the volume that holds `path`, which must exist; nothing when they can't be had.
std::optional<VolumeFigures> volumeFigures(const QString &path);

/// The path without ".", ".." and needless slashes, worked out on the text alone; the disk isn't asked.
QString standardizedPath(const QString &path);

} // namespace gateway::platform
