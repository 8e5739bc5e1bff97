// Which store stands at the root, and whose it is.

#include "index/file_store.h"
#include "platform/defaults/user_defaults.h"
#include "platform/files/files.h"
#include "platform/files/folder_id.h"

#include <algorithm>
#include <cerrno>

namespace gateway::index {

using platform::FileError;

namespace {

const QString kIdKey = QStringLiteral("QuorinGateway.FileStoreId");

} // namespace

QString FileStore::notedId() const
{
    return m_defaults.object(kIdKey).value_or(QVariant()).toString();
}

bool FileStore::isAnother() const
{
    const QString id = platform::folderId(m_root).value_or(QString());
    const QString noted = notedId();
    return id.isEmpty() || noted.isEmpty() ? m_isInconsistent.load() : id != noted;
}

/// What no number tells, the files do: of a store of an earlier version of the program, one that was copied
/// without its hidden files, or whose number can't be read, or where the defaults are lost.
void FileStore::compareWithIndex()
{
    const std::optional<QString> id = platform::folderId(m_root);
    const bool isToldByNumber = id && !id->isEmpty() && !notedId().isEmpty();
    if (isToldByNumber || !isInSight()) {
        m_isInconsistent = false;
        return;
    }
    const FilesAre files = m_index.whoseFiles();
    if (files == FilesAre::unknown) { // rows that told it may have gone since
        m_isInconsistent = m_isInconsistent || !m_index.forgetRemovals();
    } else {
        m_isInconsistent = files != FilesAre::ofTheIndex;
    }
}

void FileStore::becomeKnown()
{
    std::optional<QString> id = platform::folderId(m_root);
    try {
        if (m_lock && id && id->isEmpty()) {
            id = platform::giveFolderId(m_root, m_files);
        }
    } catch (const FileError &) {
        return; // another time
    }
    if (m_lock && id && *id != notedId()) {
        m_defaults.setObject(kIdKey, *id);
    }
}

/// \return false when another process has the store. What can't be locked now is locked with the first file.
bool FileStore::takeLock()
{
    try {
        platform::makeFoldersDurably(m_root, m_files);
        m_lock = platform::HomeLock::tryLock(lockFile());
        return m_lock.has_value();
    } catch (const FileError &) {
        return true;
    }
}

/// \throws FileError  a way of failing that waiting for some seconds doesn't mend
void FileStore::requireSight() const
{
    if (isOutOfSight()) {
        throw FileError("see the file store", ENOENT);
    }
}

/// Makes sure that the store is there and locked against others. \throws FileError
void FileStore::enter()
{
    if (m_lock && m_lock->isAt(lockFile())) {
        return;
    }
    m_lock.reset(); // of a volume that isn't there any more
    compareWithIndex();
    requireSight();
    if (!takeLock()) {
        throw FileError("use the file store, which another gateway uses", EACCES);
    }
    if (m_lock) {
        becomeKnown();
        m_nextNumber = std::max(m_nextNumber, numberBehindAllFiles());
        m_numberAtOpening = m_nextNumber;
        m_index.takenUp();
    }
}

void FileStore::takeUp()
{
    m_importQueue.sync([&] {
        try {
            enter();
        } catch (const FileError &) {
            // Another time.
        }
    });
}

bool FileStore::accept()
{
    bool isDone = false;
    m_importQueue.sync([&] {
        try {
            const std::optional<QString> id = platform::folderId(m_root);
            const bool isStore = id && (isInSight() || !id->isEmpty());
            const FilesAre files = isStore ? m_index.whoseFiles() : FilesAre::unread;
            const bool mayBeTaken = files != FilesAre::unread; // they may be those of the rows: another time
            if (mayBeTaken && (files == FilesAre::ofTheIndex || m_index.letGoOfFiles())) {
                const QString taken = id->isEmpty() ? platform::giveFolderId(m_root, m_files) : *id;
                isDone = m_defaults.setObject(kIdKey, taken);
                platform::makeFoldersDurably(folderOf(m_nextNumber), m_files); // or it would be out of sight
                enter();
            }
        } catch (const FileError &) {
            isDone = false;
        }
    });
    return isDone;
}

bool FileStore::isInSight() const
{
    return highestBucket().value_or(0) > 0;
}

QString FileStore::lockFile() const
{
    return m_root + QStringLiteral("/.lock"); // hidden, so that it doesn't count as stored
}

} // namespace gateway::index
