#include "index/file_store.h"

#include "platform/concurrency/clock.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/files.h"
#include "platform/files/folder_entries.h"
#include "platform/sqlite/sqlite_error.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>
#include <QtCore/QUuid>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace gateway::index {

using platform::FileError;

namespace {

constexpr std::int64_t kFilesOfABucket = 10'000;

const QString kNumberKey = QStringLiteral("QuorinGateway.DataFileIndex");

std::int64_t bucketOf(std::int64_t number)
{
    return (number / kFilesOfABucket + 1) * kFilesOfABucket;
}

/// The extension of a file name, as the stored file carries it on. One that would not come back whole from
/// the index, or that is too long for a file name, counts as none.
QString extensionOf(const QString &path)
{
    constexpr qsizetype kLongest = 64;
    const QString name = QFileInfo(path).fileName();
    const qsizetype point = name.lastIndexOf(QLatin1Char('.'));
    const QString extension = point > 0 ? name.mid(point + 1) : QString();
    const bool usable =
        extension.size() <= kLongest &&
        std::all_of(extension.begin(), extension.end(), [](QChar c) { return c.isPrint() && !c.isSpace(); });
    return usable ? extension : QString();
}

std::optional<std::int64_t> numberIn(const QString &text)
{
    // Anything longer isn't a number of ours, and would not leave room to count on.
    constexpr qsizetype kMostDigits = 15;
    bool isNumber = text.size() <= kMostDigits;
    const std::int64_t number = isNumber ? text.toLongLong(&isNumber) : 0;
    return isNumber && number >= 0 ? std::optional(number) : std::nullopt;
}

/// How the names of files begin that only try whether one could be stored; hidden, so that they count as
/// none.
const QString kTryPrefix = QStringLiteral(".try-");

} // namespace

StoreInUseError::StoreInUseError(std::optional<qint64> owner)
    : std::runtime_error(
          (owner ? QStringLiteral("The file store is used by another gateway, process %1, whose documents "
                                  "folder is the same. Give each gateway a documents folder of its own.")
                       .arg(*owner)
                 : QStringLiteral("The file store is used by another gateway, whose documents folder is the "
                                  "same. Give each gateway a documents folder of its own."))
              .toStdString())
{
}

FileStore::FileStore(QString root,
                     platform::UserDefaults &defaults,
                     platform::Clock &clock,
                     platform::FileSystem &files,
                     IndexSide index)
    : m_root(QDir::cleanPath(root)), m_defaults(defaults), m_clock(clock), m_files(files),
      m_index(std::move(index)), m_newestAcknowledged(m_index.newestAcknowledged),
      m_importQueue(QStringLiteral("com.ovelt.pavan.gateway.importdb.queue"))
{
    const auto kept = m_defaults.object(kNumberKey);
    m_nextNumber = std::max<std::int64_t>(kept ? kept->toLongLong() : 0, m_index.nextNumber);
    m_wasUsed = m_nextNumber > 0;
    m_numberAtOpening = m_nextNumber;
    compareWithIndex();
    if (isOutOfSight()) {
        return;
    }
    if (!takeLock()) {
        throw StoreInUseError(platform::HomeLock::owner(lockFile()));
    }
    becomeKnown();
    m_nextNumber = std::max(m_nextNumber, numberBehindAllFiles());
    m_wasUsed = m_nextNumber > 0;
    m_numberAtOpening = m_nextNumber;
    sweepLeftovers();
}

FileStore::Page FileStore::filesFrom(std::int64_t from, int limit) const
{
    Page page;
    for (std::int64_t bucket = bucketOf(from); bucket <= bucketOf(m_numberAtOpening) && page.files.isEmpty();
         bucket += kFilesOfABucket) {
        const QString prefix = QString::number(bucket);
        const QString folder = m_root + QLatin1Char('/') + prefix;
        const bool isWhole =
            platform::visitFolder(QFile::encodeName(folder), [&](const platform::FolderEntry &entry) {
                const auto file = numbered(prefix + QLatin1Char('/') + QFile::decodeName(entry.name()));
                if (file && file->number >= from) {
                    page.files.append(*file);
                }
            });
        if (!isWhole && !platform::isKnownToBeAbsent(folder)) {
            page.firstOutOfSight = page.firstOutOfSight.value_or(std::max(from, bucket - kFilesOfABucket));
        }
    }
    std::ranges::sort(page.files, {}, &StoredFile::number);
    page.files = page.files.mid(0, limit);
    return page;
}

std::int64_t FileStore::countFrom(std::int64_t from) const
{
    std::int64_t count = 0;
    for (std::int64_t bucket = bucketOf(from); bucket <= bucketOf(m_numberAtOpening);
         bucket += kFilesOfABucket) {
        const QDir folder(m_root + QLatin1Char('/') + QString::number(bucket));
        for (const QString &name : folder.entryList(QDir::Files | QDir::NoSymLinks)) {
            const auto number = numberIn(name.section(QLatin1Char('.'), 0, 0));
            count += number && *number >= from && *number < m_numberAtOpening ? 1 : 0;
        }
    }
    return count;
}

QString FileStore::root()
{
    try {
        requireSight();
        platform::makeFoldersDurably(m_root, m_files);
    } catch (const FileError &) {
        // Whoever writes below it will notice.
    }
    return m_root;
}

QUrl FileStore::fileURL(const QString &pathString) const
{
    const bool absolute = pathString.startsWith(QLatin1Char('/'));
    return QUrl::fromLocalFile(absolute ? pathString : m_root + QLatin1Char('/') + pathString);
}

QString FileStore::pathStringOf(const QString &path) const
{
    if (!path.startsWith(m_root + QLatin1Char('/'))) {
        return QFileInfo(path).fileName();
    }
    QStringView relative = QStringView(path).mid(m_root.size());
    while (relative.startsWith(QLatin1Char('/'))) {
        relative = relative.mid(1);
    }
    while (relative.endsWith(QLatin1Char('/'))) {
        relative.chop(1);
    }
    return relative.toString();
}

QString FileStore::privateFolder() const
{
    // Hidden, so that what stands in it doesn't count as stored.
    return m_root + QStringLiteral("/.incoming");
}

void FileStore::sweepLeftovers()
{
    constexpr auto kFiles = QDir::Files | QDir::Hidden;
    const QDir own(privateFolder());
    for (const QString &name : own.entryList(kFiles)) {
        dropPrivateCopy(own.filePath(name));
    }
    const QDir bucket(folderOf(m_nextNumber)); // where the last try was made
    for (const QString &name : bucket.entryList({kTryPrefix + u'*'}, kFiles)) {
        dropPrivateCopy(bucket.filePath(name));
    }
}

bool FileStore::wasNeverUsed() const
{
    return m_numberAtOpening == 0 && highestBucket() == 0;
}

/// Nothing where the root can't be read to its end.
std::optional<std::int64_t> FileStore::highestBucket() const
{
    std::int64_t highest = 0;
    const bool isWhole =
        platform::visitFolder(QFile::encodeName(m_root), [&](const platform::FolderEntry &entry) {
            const std::int64_t bucket = numberIn(QFile::decodeName(entry.name())).value_or(0);
            if (bucket % kFilesOfABucket == 0) {
                highest = std::max(highest, bucket);
            }
        });
    return isWhole ? std::optional(highest) : std::nullopt;
}

std::int64_t FileStore::numberBehindAllFiles() const
{
    const std::int64_t highest = highestBucket().value_or(0);
    if (highest == 0) {
        return 0;
    }
    std::int64_t next = highest - kFilesOfABucket; // lower buckets end before this
    const QDir folder(m_root + QLatin1Char('/') + QString::number(highest));
    for (const QString &name : folder.entryList(QDir::Files | QDir::Hidden | QDir::System)) {
        const std::int64_t number = numberIn(name.section(QLatin1Char('.'), 0, 0)).value_or(-1);
        next = std::max(next, number + 1);
    }
    return next;
}

PrivateFile FileStore::takePrivateCopy(const QString &path, ImportSource source)
{
    if (!platform::fileIdentity(lockFile())) { // the short look; `enter` has the long one
        requireSight();
    }
    platform::makeFoldersDurably(privateFolder(), m_files);
    const QString copy = privateFolder() + QLatin1Char('/') +
                         QUuid::createUuid().toString(QUuid::WithoutBraces) + QLatin1Char('.') +
                         extensionOf(path);
    const bool isLinked = source == ImportSource::ownInbox && link(path, copy);
    if (!isLinked) {
        m_files.copy(path, copy);
    }
    try {
        if (source == ImportSource::foreign) {
            return {copy, dateForeignCopy(copy)};
        }
        const std::chrono::nanoseconds modified = platform::fileIdentityOrThrow(path).modified;
        if (!isLinked) {
            m_files.setModified(copy, modified);
        }
        return {copy, modified.count()};
    } catch (const FileError &) {
        dropPrivateCopy(copy); // without its time nobody could tell which version is the last
        throw;
    }
}

/// False from another volume, or on one without links.
bool FileStore::link(const QString &source, const QString &copy)
{
    try {
        m_files.link(source, copy);
        return true;
    } catch (const FileError &) {
        return false;
    }
}

std::int64_t FileStore::dateForeignCopy(const QString &copy)
{
    const std::int64_t modified = platform::fileIdentityOrThrow(copy).modified.count();
    std::int64_t time = modified;
    {
        const platform::MutexLock lock(m_mutex);
        time = std::max(time, m_newestAcknowledged + 1);
        m_newestAcknowledged = time;
    }
    if (modified != time) {
        m_files.setModified(copy, std::chrono::nanoseconds(time)); // the clock stands, or was set back
    }
    return time;
}

void FileStore::dropPrivateCopy(const QString &copy)
{
    try {
        m_files.remove(copy);
    } catch (const FileError &) {
        // Swept at the next opening.
    }
}

StoredFile FileStore::moveIn(const PrivateFile &copy)
{
    StoredFile stored;
    m_importQueue.sync([&] { stored = moveToNextNumber(copy); });
    return stored;
}

StoredFile FileStore::moveToNextNumber(const PrivateFile &copy)
{
    enter();
    for (;; ++m_nextNumber) {
        const QString folder = folderOf(m_nextNumber);
        const QString path = folder + QLatin1Char('/') + QString::number(m_nextNumber) + QLatin1Char('.') +
                             extensionOf(copy.path);
        platform::makeFoldersDurably(folder, m_files);
        const StoredFile stored{path, pathStringOf(path), m_nextNumber, copy.acknowledged};
        beginImport(stored);
        try {
            m_files.renameToNew(copy.path, path);
        } catch (const FileError &error) {
            importEnded(stored);
            if (error.code() == EEXIST) {
                continue;
            }
            throw;
        }
        ++m_nextNumber;
        m_wasUsed = true;
        keepNumber();
        return stored;
    }
}

bool FileStore::isWritable()
{
    bool isDone = false;
    m_importQueue.sync([&] {
        try {
            enter();
            tryToMoveIn();
            isDone = true;
        } catch (const FileError &) {
            // That is the answer.
        }
    });
    return isDone;
}

/// Takes the way of a file, under names that count as nothing. \throws FileError
void FileStore::tryToMoveIn()
{
    constexpr int kBytes = 4096; // a full disk still makes an empty file
    const QString name = u'/' + kTryPrefix + QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QString bucket = folderOf(m_nextNumber);
    QString file = privateFolder() + name;
    platform::makeFoldersDurably(privateFolder(), m_files);
    m_files.create(file, QByteArray(kBytes, '\0'));
    try {
        if (!platform::isKnownToBeAbsent(bucket)) { // made with its first file
            m_files.renameToNew(file, bucket + name);
            file = bucket + name;
        }
    } catch (const FileError &) {
        dropPrivateCopy(file);
        throw;
    }
    m_files.remove(file);
}

QString FileStore::folderOf(std::int64_t number) const
{
    return m_root + QLatin1Char('/') + QString::number(bucketOf(number));
}

std::optional<StoredFile> FileStore::takeUpName(const QString &inboxFile)
{
    const auto wanted = platform::fileIdentity(inboxFile);
    if (!wanted || wanted->names < 2) {
        return std::nullopt; // the usual case costs no more than this
    }
    std::optional<StoredFile> found;
    m_importQueue.sync([&] {
        const std::int64_t newest = std::max<std::int64_t>(m_nextNumber - 1, 0);
        QSet<QString> folders{folderOf(newest),
                              folderOf(std::max<std::int64_t>(newest - kFilesOfABucket, 0))};
        for (const QString &folder : std::as_const(folders)) {
            platform::visitFolder(QFile::encodeName(folder), [&](const platform::FolderEntry &entry) {
                const QString path = folder + u'/' + QFile::decodeName(entry.name());
                const auto identity =
                    entry.number() == wanted->number ? platform::fileIdentity(path) : std::nullopt;
                if (identity && identity->isSameFile(*wanted) && !found) {
                    found = numbered(pathStringOf(path));
                    if (found) {
                        found->acknowledged = identity->modified.count();
                    }
                }
            });
        }
        if (found) {
            beginImport(*found);
        }
    });
    return found;
}

void FileStore::beginImport(const StoredFile &file)
{
    const platform::MutexLock lock(m_mutex);
    m_beingImported.insert(file.pathString);
    m_newestAcknowledged = std::max(m_newestAcknowledged, file.acknowledged);
}

void FileStore::noteAcknowledged(std::int64_t time)
{
    const platform::MutexLock lock(m_mutex);
    m_newestAcknowledged = std::max(m_newestAcknowledged, time);
}

std::int64_t FileStore::newestAcknowledged() const
{
    const platform::MutexLock lock(m_mutex);
    return m_newestAcknowledged;
}

void FileStore::importEnded(const StoredFile &file)
{
    const platform::MutexLock lock(m_mutex);
    m_beingImported.remove(file.pathString);
}

bool FileStore::isBeingImported(const QString &pathString) const
{
    const platform::MutexLock lock(m_mutex);
    return m_beingImported.contains(pathString);
}

std::optional<StoredFile> FileStore::numbered(const QString &pathString) const
{
    const QStringList parts = pathString.split(QLatin1Char('/'));
    if (parts.size() != 2) {
        return std::nullopt;
    }
    const auto bucket = numberIn(parts[0]);
    const auto number = numberIn(parts[1].section(QLatin1Char('.'), 0, 0));
    if (!bucket || !number || bucketOf(*number) != *bucket) {
        return std::nullopt;
    }
    return StoredFile{m_root + QLatin1Char('/') + pathString, pathString, *number, 0};
}

void FileStore::keepNumber()
{
    constexpr auto kInterval = std::chrono::seconds(1); // a durable write a file would halve the throughput
    const auto now = m_clock.monotonic();
    if (!m_numberKeptAt || now - *m_numberKeptAt >= kInterval) {
        m_numberKeptAt = now;
        m_defaults.setObject(kNumberKey, QVariant::fromValue<qlonglong>(m_nextNumber));
    }
}

void FileStore::makeDurable(const StoredFile &file)
{
    m_files.syncFolder(QFileInfo(file.path).path());
}

void FileStore::discard(const StoredFile &file)
{
    dropPrivateCopy(file.path);
}

FileStore::Removal FileStore::removeUnless(const QString &pathString, const std::function<bool()> &isInUse)
{
    auto outcome = Removal::failed;
    m_importQueue.sync([&] {
        try {
            enter(); // the file of that name may be another store's
            outcome = isInUse() ? Removal::kept : remove(fileURL(pathString).toLocalFile());
        } catch (const platform::SqliteError &) {
            // Who refers to it is not known: it stays.
        } catch (const FileError &) {
            // It goes when the store is back.
        }
    });
    return outcome;
}

FileStore::Removal FileStore::remove(const QString &path)
{
    try {
        m_files.remove(path);
        return Removal::removed;
    } catch (const FileError &error) {
        // Without its folder a file may only be out of sight, as on a volume that isn't mounted.
        const bool isAbsent = error.code() == ENOENT && QFileInfo(QFileInfo(path).path()).isDir();
        return isAbsent ? Removal::absent : Removal::failed;
    }
}

bool FileStore::makeRemovalsDurable(const QStringList &pathStrings)
{
    QSet<QString> folders;
    for (const QString &pathString : pathStrings) {
        folders.insert(QFileInfo(fileURL(pathString).toLocalFile()).path());
    }
    try {
        for (const QString &folder : folders) {
            m_files.syncFolder(folder);
        }
        return true;
    } catch (const FileError &) {
        return false;
    }
}

} // namespace gateway::index
