#pragma once

#include "index/db_service.h"
#include "index/import_recorder.h"
#include "index/store_consistency.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/serial_queue.h"
#include "platform/files/home_lock.h"

#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>

namespace gateway::platform {
class Clock;
class FileSystem;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::index {

/// Another process works in this file store. Its text is one sentence for the operator.
class StoreInUseError : public std::runtime_error
{
public:
    /// \param owner  the other one's process id, where it is known.
    explicit StoreInUseError(std::optional<qint64> owner);

    QString message() const { return QString::fromUtf8(what()); }
};

/// A copy that an import works on.
struct PrivateFile
{
    QString path;

    /// In nanoseconds since 1970. Of an inbox file it is the inbox's word: this volume may keep coarser
    /// times.
    std::int64_t acknowledged = 0;
};

/// The files that the gateway keeps: `<root>/<bucket>/<number>.<extension>`, at most 10000 a bucket.
///
/// The running number only rises, and never leads to a file that exists. It stands under the defaults key
/// "QuorinGateway.DataFileIndex", written at most once a second; where that write was lost, the files and
/// the index's own record of the number tell more, and opening takes the highest.
///
/// Owner: DicomDB. Thread: any. One process at a time works in one root, whatever home it has: a lock in the
/// root sees to it. Where the root can't be reached at opening, or is out of sight, it is taken up later; the
/// same where another volume has come to stand there since. A number that the root keeps, and the defaults
/// under "QuorinGateway.FileStoreId", tells it from another gateway's.
class FileStore
{
public:
    /// What the index knows of its store, and wants to know.
    struct IndexSide
    {
        std::int64_t nextNumber = 0;         ///< no file gets a number below this
        std::int64_t newestAcknowledged = 0; ///< nanoseconds since 1970: what is copied in counts as later

        /// Whose the files are that stand there, by what the rows say of them.
        std::function<FilesAre()> whoseFiles = [] { return FilesAre::unknown; };

        /// Called before another store is taken for that of the index: what the rows say of files is said of
        /// the one before. \return false when that can't be written.
        std::function<bool()> letGoOfFiles = [] { return true; };

        /// Called where nothing tells whose the store is: the names of files that were to go may be those of
        /// another one's. \return false when that can't be written.
        std::function<bool()> forgetRemovals = [] { return true; };

        /// Called when the store was taken up after the opening, before anything is moved in.
        std::function<void()> takenUp = [] {};
    };

    /// Takes the running number up and sweeps private copies and tries that a crash left behind.
    ///
    /// \throws StoreInUseError
    FileStore(QString root,
              platform::UserDefaults &defaults,
              platform::Clock &clock,
              platform::FileSystem &files,
              IndexSide index);

    /// Takes up the store where it is in sight and wasn't before: locks it, and looks what lies there. Blocks
    /// for as long as its volume doesn't answer.
    void takeUp();

    /// The number that the first file moved in gets after the store was taken up last, above those of all
    /// files that were there.
    std::int64_t numberAtOpening() const { return m_numberAtOpening; }

    /// True when the folders that files once lay in, or some of them, can be seen: with a share that is away
    /// there are none.
    bool isInSight() const;

    /// True where files were stored once, by the running number or the index's record of it, and now not even
    /// their folders are there, as where the volume isn't mounted, or another store stands there. Nothing is
    /// made there, taken in, sent or removed.
    bool isOutOfSight() const { return (m_wasUsed && !isInSight()) || isAnother(); }

    /// True where a store stands there, but not that of the index: its number is another one, or its files
    /// hold other images than the rows say.
    bool isAnother() const;

    /// Takes what stands there for the store of the index from now on, on a person's word. Unless its files
    /// are those of the rows, the index lets go of what it knows of files.
    /// \return false where it is out of sight, in another gateway's use, or can't be written, or the index;
    /// or
    ///         where its files can't be read at the moment, so that nobody knows whose they are.
    bool accept();

    /// True when a file could be taken in now, for all that a try with a small one tells.
    bool isWritable();

    /// True when no file was ever stored here, for all that the root and the running number tell.
    bool wasNeverUsed() const;

    /// Some files of the store, by number, without their times.
    struct Page
    {
        QList<StoredFile> files;

        /// The lowest number that a file may have which stands in a folder before or beside these that can't
        /// be read.
        std::optional<std::int64_t> firstOutOfSight = {};
    };

    /// The next files of the store from the number `from` on, at most `limit`.
    Page filesFrom(std::int64_t from, int limit) const;

    /// The root; made, with its parents, when it is missing and not only out of sight. A failure to make it
    /// is ignored here.
    QString root();

    /// Where the file of a `pathString` lies: an absolute one as it stands, any other below the root.
    QUrl fileURL(const QString &pathString) const;

    /// The `pathString` of a file: its path relative to the root; of a file elsewhere, its last component.
    QString pathStringOf(const QString &path) const;

    /// Copies `path` to a new name on the store's own volume, content durable. A copy of an inbox file has
    /// its time, that of any other a time of its own, later than those of all before it. \throws FileError
    PrivateFile takePrivateCopy(const QString &path, ImportSource source);

    /// Removes a private copy; a failure leaves it for the sweep at the next opening.
    void dropPrivateCopy(const QString &copy);

    /// Moves a private copy in under the next running number, strictly one after another over all threads.
    /// \throws FileError  when it could not be moved, or another process has the store (EACCES); the number
    ///                    then doesn't rise.
    StoredFile moveIn(const PrivateFile &copy);

    /// The name that an inbox file has in the store already, because an import of it died or failed before
    /// the file could leave the inbox. It counts as being imported from now on. Looks among the newest names.
    std::optional<StoredFile> takeUpName(const QString &inboxFile);

    /// The import of a file that was moved in is over, with rows or without them.
    void importEnded(const StoredFile &file);

    /// What is copied in from now on counts as acknowledged later than this, in nanoseconds since 1970.
    void noteAcknowledged(std::int64_t time) QUORIN_EXCLUDES(m_mutex);

    /// When the last of all images was acknowledged whose file came by here or was noted.
    std::int64_t newestAcknowledged() const QUORIN_EXCLUDES(m_mutex);

    /// True from before a file gets its name in the store until its import is over: a file without rows and
    /// without this belongs to no import any more.
    bool isBeingImported(const QString &pathString) const;

    /// The stored file of a `pathString` of the form that the store gives, without its time, be it there or
    /// not; nothing for any other.
    std::optional<StoredFile> numbered(const QString &pathString) const;

    /// How many files are in sight that have this number or a higher one, and were there at the opening.
    std::int64_t countFrom(std::int64_t from) const;

    /// Makes the name that `moveIn` gave durable. \throws FileError
    void makeDurable(const StoredFile &file);

    /// Removes a file to which no row was ever to refer; a failure is ignored.
    void discard(const StoredFile &file);

    /// What became of a file that was to go.
    enum class Removal
    {
        removed,
        absent, ///< it had gone before
        kept,   ///< still in use
        failed  ///< it is there, or nobody can tell
    };

    /// Removes a stored file unless `isInUse` says otherwise or throws; no file is moved in between the
    /// question and the removal.
    Removal removeUnless(const QString &pathString, const std::function<bool()> &isInUse);

    /// Makes sure that removed files don't come back after a power cut. \return false when that failed.
    bool makeRemovalsDurable(const QStringList &pathStrings);

private:
    QString privateFolder() const;
    void sweepLeftovers();
    std::optional<std::int64_t> highestBucket() const;
    std::int64_t numberBehindAllFiles() const;
    StoredFile moveToNextNumber(const PrivateFile &copy);
    void keepNumber();
    bool link(const QString &source, const QString &copy);
    std::int64_t dateForeignCopy(const QString &copy);
    bool takeLock();
    QString lockFile() const;
    QString notedId() const;
    void compareWithIndex();
    void becomeKnown();
    void enter();
    void requireSight() const;
    void tryToMoveIn();
    QString folderOf(std::int64_t number) const;
    Removal remove(const QString &path);
    void beginImport(const StoredFile &file);

    const QString m_root;
    platform::UserDefaults &m_defaults; // borrowed, outlives this, as the next two
    platform::Clock &m_clock;
    platform::FileSystem &m_files;

    const IndexSide m_index;

    std::atomic<bool> m_wasUsed = false;        // files were stored here
    std::atomic<bool> m_isInconsistent = false; // as the index says of what stands here
    std::atomic<std::int64_t> m_numberAtOpening = 0;

    mutable platform::Mutex m_mutex;
    QSet<QString> m_beingImported QUORIN_GUARDED_BY(m_mutex);
    std::int64_t m_newestAcknowledged QUORIN_GUARDED_BY(m_mutex);

    // Touched on m_importQueue only, once constructed.
    std::optional<platform::HomeLock> m_lock; // on the volume that is in sight
    std::int64_t m_nextNumber = 0;
    std::optional<std::chrono::nanoseconds> m_numberKeptAt;

    platform::SerialQueue m_importQueue; // last: drained before the fields go
};

} // namespace gateway::index
