#include "platform/files/files.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>
#include <QtCore/QUuid>

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace gateway::platform {

namespace {

QString folderOf(const QString &path)
{
    return QFileInfo(path).path();
}

// What stands around that which tells one name beside a file from others.
QString partPrefix(const QString &path)
{
    return u'.' + QFileInfo(path).fileName() + u'.';
}
const QString kPartSuffix = QStringLiteral(".part");

/// A name beside `path` that nobody else uses.
QString partPath(const QString &path)
{
    const QString random = QUuid::createUuid().toString(QUuid::Id128);
    return folderOf(path) + u'/' + partPrefix(path) + random + kPartSuffix;
}

void removeIgnoringFailure(const QString &path, FileSystem &files)
{
    try {
        files.remove(path);
    } catch (const FileError &) {
        // The error that led here is the one to report.
    }
}

/// What writers of `path` left that were cut off.
void removeParts(const QString &path, FileSystem &files)
{
    const QDir folder(folderOf(path));
    for (const QString &name : folder.entryList(QDir::Files | QDir::Hidden)) {
        if (isPartOf(path, name)) {
            removeIgnoringFailure(folder.filePath(name), files);
        }
    }
}

bool linkInstead(const QString &source, const QString &destination, FileSystem &files)
{
    try {
        files.link(source, destination);
        return true;
    } catch (const FileError &error) {
        if (error.code() == EEXIST) {
            throw;
        }
        return false; // another volume, or one without links: copied then
    }
}

std::optional<struct stat> statusOfRegularFile(const QString &path)
{
    struct stat status{};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return status;
}

qint64 bytesOf(fsblkcnt_t blocks, unsigned long blockSize)
{
    constexpr auto kMost = static_cast<fsblkcnt_t>(std::numeric_limits<qint64>::max());
    const fsblkcnt_t most = blockSize == 0 ? 0 : kMost / blockSize;
    const fsblkcnt_t bytes = std::min(blocks, most) * blockSize;
    return static_cast<qint64>(bytes);
}

} // namespace

void writeFileDurably(const QString &path, const QByteArray &bytes, FileSystem &files)
{
    removeParts(path, files);
    const QString part = partPath(path);
    files.create(part, bytes);
    try {
        files.rename(part, path);
    } catch (const FileError &) {
        removeIgnoringFailure(part, files);
        throw;
    }
    files.syncFolder(folderOf(path));
}

bool isPartOf(const QString &path, const QString &name)
{
    return name.startsWith(partPrefix(path)) && name.endsWith(kPartSuffix);
}

void syncFile(const QString &path, FileSystem &files)
{
    files.syncFile(path);
}

void syncFolder(const QString &path, FileSystem &files)
{
    files.syncFolder(path);
}

void copyForStore(const QString &source, const QString &destination, CopyManner manner, FileSystem &files)
{
    const bool linked = manner == CopyManner::mayLink && linkInstead(source, destination, files);
    if (!linked) {
        files.copy(source, destination);
    }
    try {
        if (linked) {
            files.syncFile(destination);
        }
        files.syncFolder(folderOf(destination));
    } catch (const FileError &) {
        removeIgnoringFailure(destination, files);
        throw;
    }
}

void renameDurably(const QString &from, const QString &to, FileSystem &files)
{
    files.rename(from, to);
    files.syncFolder(folderOf(to));
    if (folderOf(from) != folderOf(to)) {
        files.syncFolder(folderOf(from));
    }
}

void makeFoldersDurably(const QString &path, FileSystem &files)
{
    if (QFileInfo(path).isDir()) {
        return;
    }
    const QString parent = folderOf(path);
    if (parent != path) {
        makeFoldersDurably(parent, files);
    }
    try {
        files.makeFolder(path);
    } catch (const FileError &error) {
        if (error.code() != EEXIST || !QFileInfo(path).isDir()) { // another process may have been faster
            throw;
        }
    }
    files.syncFolder(parent);
}

std::optional<qint64> fileSizeBytes(const QString &path)
{
    const auto status = statusOfRegularFile(path);
    return status ? std::optional<qint64>(status->st_size) : std::nullopt;
}

std::optional<FileIdentity> fileIdentity(const QString &path)
{
    const auto status = statusOfRegularFile(path);
    if (!status) {
        return std::nullopt;
    }
    const auto modified =
        std::chrono::seconds(status->st_mtim.tv_sec) + std::chrono::nanoseconds(status->st_mtim.tv_nsec);
    return FileIdentity{status->st_dev, status->st_ino, status->st_nlink, status->st_size, modified};
}

FileIdentity fileIdentityOrThrow(const QString &path)
{
    errno = 0;
    const auto identity = fileIdentity(path);
    if (!identity) {
        throw FileError("ask for the time of a file", errno != 0 ? errno : EINVAL);
    }
    return *identity;
}

bool isKnownToBeAbsent(const QString &path)
{
    struct stat status{};
    if (::lstat(QFile::encodeName(path).constData(), &status) == 0 || errno != ENOENT) {
        return false;
    }
    const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
    return ::stat(folder.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool haveSameContent(const QString &path, const QString &other)
{
    const auto first = fileIdentity(path);
    const auto second = fileIdentity(other);
    if (!first || !second || first->bytes != second->bytes) {
        return false;
    }
    if (first->isSameFile(*second)) {
        return true;
    }
    constexpr qint64 kPiece = qint64{256} * 1024;
    QFile left(path);
    QFile right(other);
    if (!left.open(QIODevice::ReadOnly) || !right.open(QIODevice::ReadOnly)) {
        return false;
    }
    qint64 compared = 0;
    while (compared < first->bytes) {
        const QByteArray piece = left.read(kPiece);
        if (piece.isEmpty() || piece != right.read(piece.size())) {
            return false;
        }
        compared += piece.size();
    }
    return true;
}

bool isReadable(const QString &path)
{
    constexpr qint64 kPiece = qint64{256} * 1024;
    QByteArray piece(kPiece, Qt::Uninitialized);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return false;
    }
    qint64 count = 0;
    do {
        count = file.read(piece.data(), piece.size());
    } while (count > 0);
    return count == 0;
}

std::optional<VolumeFigures> volumeFigures(const QString &path)
{
    struct statvfs figures{};
    if (::statvfs(QFile::encodeName(path).constData(), &figures) != 0) {
        return std::nullopt;
    }
    return VolumeFigures{bytesOf(figures.f_blocks, figures.f_frsize),
                         bytesOf(figures.f_bavail, figures.f_frsize)};
}

QString standardizedPath(const QString &path)
{
    const bool absolute = path.startsWith(u'/');
    QStringList kept;
    for (const QString &part : path.split(u'/', Qt::SkipEmptyParts)) {
        if (part == QStringLiteral(".")) {
            continue;
        }
        const bool up = part == QStringLiteral("..");
        if (up && !kept.isEmpty() && kept.last() != part) {
            kept.removeLast();
        } else if (!up || !absolute) { // above the root there is nothing
            kept.append(part);
        }
    }
    return (absolute ? QStringLiteral("/") : QString()) + kept.join(u'/');
}

} // namespace gateway::platform
