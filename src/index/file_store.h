#pragma once

#include "index/db_service.h"
#include "index/import_recorder.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/serial_queue.h"

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace gateway::platform {
class Clock;
class FileSystem;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::index {

/// The files that the gateway keeps: `<root>/<bucket>/<number>.<extension>`, at most 10000 a bucket.
///
/// The running number only rises, and never leads to a file that exists. It stands under the defaults key
/// "QuorinGateway.DataFileIndex", written at most once a second; where that write was lost, the files and
/// the index's own record of the number tell more, and opening takes the highest.
///
/// Owner: DicomDB. Thread: any. One process at a time works in one root.
class FileStore
{
public:
    /// Takes the running number up and sweeps private copies that a crash left behind.
    ///
    /// \param atLeast  no file gets a number below this.
    FileStore(QString root,
              platform::UserDefaults &defaults,
              platform::Clock &clock,
              platform::FileSystem &files,
              std::int64_t atLeast);

    /// The root; made, with its parents, when it is missing. A failure to make it is ignored here.
    QString root();

    /// Where the file of a `pathString` lies: an absolute one as it stands, any other below the root.
    QUrl fileURL(const QString &pathString) const;

    /// The `pathString` of a file: its path relative to the root; of a file elsewhere, its last component.
    QString pathStringOf(const QString &path) const;

    /// Copies `source` to a new name on the store's own volume, content durable. \throws FileError
    QString takePrivateCopy(const QString &source, ImportSource hands);

    /// Removes a private copy; a failure leaves it for the sweep at the next opening.
    void dropPrivateCopy(const QString &copy);

    /// Moves a private copy in under the next running number, strictly one after another over all threads.
    /// \throws FileError  when it could not be moved; the number then doesn't rise.
    StoredFile moveIn(const QString &copy);

    /// The import of a file that was moved in is over, with rows or without them.
    void importEnded(const StoredFile &file);

    /// True from before a file gets its name in the store until its import is over: a file without rows and
    /// without this belongs to no import any more.
    bool isBeingImported(const QString &pathString) const;

    /// The stored file of a `pathString` of the form that the store gives; nothing for any other.
    std::optional<StoredFile> numbered(const QString &pathString) const;

    /// Makes the name that `moveIn` gave durable. \throws FileError
    void makeDurable(const StoredFile &file);

    /// Removes a file that no row refers to; a failure is ignored.
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
    void sweepPrivateFolder();
    std::int64_t numberBehindAllFiles() const;
    StoredFile moveToNextNumber(const QString &copy);
    void keepNumber();
    Removal remove(const QString &path);
    void beginImport(const StoredFile &file);

    const QString m_root;
    platform::UserDefaults &m_defaults; // borrowed, outlives this, as the next two
    platform::Clock &m_clock;
    platform::FileSystem &m_files;

    mutable platform::Mutex m_mutex;
    QSet<QString> m_beingImported QUORIN_GUARDED_BY(m_mutex);

    // Touched on m_importQueue only, once constructed.
    std::int64_t m_nextNumber = 0;
    std::optional<std::chrono::nanoseconds> m_numberKeptAt;

    platform::SerialQueue m_importQueue; // last: drained before the fields go
};

} // namespace gateway::index
