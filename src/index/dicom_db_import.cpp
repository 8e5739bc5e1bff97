// Taking a file in.

#include "index/dicom_db.h"
#include "index/parsed_object.h"
#include "index/storage_retry.h"
#include "index/stored_copies.h"
#include "platform/dicom/dicom_parsing.h"
#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "platform/sqlite/database.h"

#include <QtCore/QFileInfo>

#include <algorithm>

namespace gateway::index {

using Blame = GatewayImportError::Blame;
using Kind = GatewayImportError::Kind;
using platform::FileError;
using platform::SqliteError;

namespace {

/// A private copy that goes when the import doesn't come as far as moving it.
class PrivateCopy
{
public:
    PrivateCopy(FileStore &files, PrivateFile file) : m_files(files), m_file(std::move(file)) {}

    ~PrivateCopy()
    {
        if (!m_moved) {
            m_files.dropPrivateCopy(m_file.path);
        }
    }

    PrivateCopy(const PrivateCopy &) = delete;
    PrivateCopy &operator=(const PrivateCopy &) = delete;

    const PrivateFile &file() const { return m_file; }
    const QString &path() const { return m_file.path; }
    void wasMoved() { m_moved = true; }

private:
    FileStore &m_files;
    const PrivateFile m_file;
    bool m_moved = false;
};

/// Tells the file store that the import of a moved file is over, however it ends.
class ImportUnderWay
{
public:
    ImportUnderWay(FileStore &files, StoredFile file) : m_files(files), m_file(std::move(file)) {}
    ~ImportUnderWay() { m_files.importEnded(m_file); }

    ImportUnderWay(const ImportUnderWay &) = delete;
    ImportUnderWay &operator=(const ImportUnderWay &) = delete;

private:
    FileStore &m_files;
    const StoredFile m_file;
};

PrivateFile copyWithRetries(FileStore &files, StorageRetry &retry, const QString &path, ImportSource source)
{
    try {
        return retry.untilDone([&] { return files.takePrivateCopy(path, source); });
    } catch (const FileError &error) {
        // Trouble of the one file must not pass for a store that can take nothing in.
        const Blame blame = platform::isReadable(path) ? Blame::storage : Blame::reading;
        throw GatewayImportError(Kind::copyToTemporaryFailed, blame, error.message());
    }
}

/// What a file holds, and the version of its dataset; 0 where not all of it could be read.
struct Parsed
{
    ParsedObject object;
    std::int64_t version = 0;
};

Parsed parse(platform::DicomParsing &parser, const QString &path, ImportSource source)
{
    const platform::ParsedFile file = parser.parseWithVersion(path);
    const auto refuse = [&file](Blame blame) {
        throw GatewayImportError(Kind::dicomParseFailed, blame, file.message, file.code);
    };
    switch (file.fate) {
    case platform::ParsedFile::Fate::parsed:
        break;
    case platform::ParsedFile::Fate::notDicom:
        refuse(Blame::file);
        break;
    case platform::ParsedFile::Fate::trouble:
        refuse(Blame::reading);
        break;
    case platform::ParsedFile::Fate::unavailable:
        refuse(Blame::storage);
        break;
    }
    // What a sender was told to be stored is kept as it is; a person can look for the whole file.
    ParsedObject object = parsedObject(file.elements);
    if (source == ImportSource::foreign && object.isDamaged) {
        throw GatewayImportError(Kind::objectDamaged, Blame::file);
    }
    return {object, file.version};
}

ImportedFileSummary summaryOf(const ParsedObject &object,
                              const Recorded &recorded,
                              const StoredFile &stored,
                              const QUrl &storedFile)
{
    return {object.patientUID,
            object.studyInstanceUID.value_or(platform::StudyUid()).value(),
            recorded.seriesKeys,
            object.sopInstanceUID,
            storedFile,
            stored.pathString,
            stored.store,
            stored.contentVersion};
}

/// The stored files that an import's image rests on while it isn't in the cloud: its own, also superseded,
/// and what its rows stand for instead where it was another name of that.
QStringList neededFor(platform::Database &database, const ImportedFileSummary &imported)
{
    constexpr const char *kNeeded =
        "SELECT pathString FROM DicomImage WHERE pathString = ?1 AND syncState IS NOT 1 "
        "UNION SELECT pathString FROM SupersededFile WHERE pathString = ?1 AND owed <> 0 "
        "UNION SELECT pathString FROM Study JOIN Series ON Series.study = Study.pk "
        "JOIN DicomImage ON DicomImage.series = Series.pk "
        "WHERE studyInstanceUID = ?2 AND Series.seriesInstanceUID = ?3 AND sopInstanceUID = ?4 "
        "AND originalSOPInstanceUID = ?5 AND DicomImage.syncState IS NOT 1 "
        "AND (contentVersion = ?6 OR contentVersion = 0 OR ?6 = 0)";
    platform::Statement row = database.prepare(kNeeded);
    const QString &uid = imported.instance.value();
    row.bindAll(imported.storagePath,
                imported.studyID,
                imported.seriesKeys.value(0),
                uid + u'0',
                uid,
                imported.version);
    QStringList needed;
    while (row.step()) {
        needed.append(row.text(0));
    }
    return needed;
}

/// An earlier import may have died, or failed, before its file's name was durable.
void makeDurableWithRetries(FileStore &files, StorageRetry &retry, const StoredFile &stored)
{
    try {
        retry.untilDone([&] { files.makeDurable(stored); });
    } catch (const FileError &error) {
        throw GatewayImportError(Kind::moveToLocalDirectoryFailed, Blame::storage, error.message());
    }
}

StoredFile moveInWithRetries(FileStore &files, StorageRetry &retry, PrivateCopy &copy)
{
    std::optional<StoredFile> stored;
    try {
        stored = retry.untilDone([&] { return files.moveIn(copy.file()); });
        copy.wasMoved();
        retry.untilDone([&] { files.makeDurable(*stored); });
        return *stored;
    } catch (const FileError &error) {
        if (stored) {
            files.discard(*stored); // no row refers to it, and the source is where it was
            files.importEnded(*stored);
        }
        throw GatewayImportError(Kind::moveToLocalDirectoryFailed, Blame::storage, error.message());
    }
}

} // namespace

ImportedFileSummary DicomDB::importFile(const QUrl &url, ImportSource source)
{
    const QString path = url.toLocalFile();
    if (path.isEmpty()) {
        throw GatewayImportError(Kind::invalidSourceURL, Blame::file);
    }
    StorageRetry retry(m_collaborators.clock, m_stop.get_token());
    settleUnsaved(retry);
    const StoreTurn store = turnToImportInto(retry);
    std::optional<StoredFile> stored = takeUpEarlierImport(path, source);
    std::optional<ImportUnderWay> underWay;
    Parsed parsed;
    if (stored) {
        underWay.emplace(m_files, *stored);
        makeDurableWithRetries(m_files, retry, *stored);
        parsed = parse(m_collaborators.parser, stored->path, source);
    } else {
        PrivateCopy copy(m_files, copyWithRetries(m_files, retry, path, source));
        parsed = parse(m_collaborators.parser, copy.path(), source);
        stored = moveInWithRetries(m_files, retry, copy);
        underWay.emplace(m_files, *stored);
    }
    stored->origin = source == ImportSource::foreign ? FileOrigin::broughtIn : FileOrigin::network;
    stored->contentVersion = parsed.version;
    stored->store = store;
    if (parsed.object.patientUID.isEmpty()) {
        throw GatewayImportError(Kind::databaseSaveRejected, Blame::file);
    }
    const Recorded recorded = save(retry, parsed.object, *stored);
    underWay.reset(); // what is being imported isn't removed
    removeReleased(recorded.released, RemovalReason::superseded);
    dropEqualCopies(recorded, *stored);
    return summaryOf(parsed.object, recorded, *stored, fileURL(stored->pathString));
}

std::optional<bool> DicomDB::isKept(const ImportedFileSummary &imported) const
{
    QStringList needed;
    try {
        const bool isOfThisStore = m_store.read([&](platform::Database &database) {
            needed = neededFor(database, imported);
            return storeTurn(database) == imported.store;
        });
        if (!isOfThisStore) {
            return false;
        }
    } catch (const SqliteError &) {
        return std::nullopt;
    }
    const auto pathOf = [this](const QString &stored) { return fileURL(stored).toLocalFile(); };
    const bool areAllThere = std::ranges::all_of(
        needed, [&pathOf](const QString &stored) { return QFileInfo::exists(pathOf(stored)); });
    if (areAllThere) {
        return true;
    }
    const bool isOneLost = std::ranges::any_of(
        needed, [&pathOf](const QString &stored) { return platform::isKnownToBeAbsent(pathOf(stored)); });
    return isOneLost && !isStoreOutOfSight() ? std::optional(false) : std::nullopt;
}

/// Asked for before the file gets its name: should another store take its turn after this, the import fails,
/// and the source is where it was.
StoreTurn DicomDB::turnToImportInto(StorageRetry &retry)
{
    try {
        return retry.untilDone([&] { return m_store.read(storeTurn); });
    } catch (const SqliteError &error) {
        throw GatewayImportError(Kind::databaseSaveRejected, Blame::storage, error.message());
    }
}

/// The name that an earlier import of an inbox file gave it, be it with rows or without them: the file was
/// acknowledged once, and is recorded once.
std::optional<StoredFile> DicomDB::takeUpEarlierImport(const QString &path, ImportSource source)
{
    std::optional<StoredFile> stored =
        source == ImportSource::ownInbox ? m_files.takeUpName(path) : std::nullopt;
    if (stored && isToGo(stored->pathString)) {
        m_files.importEnded(*stored); // nothing can rely on this name any more
        return std::nullopt;
    }
    return stored;
}

Recorded DicomDB::save(StorageRetry &retry, const ParsedObject &object, const StoredFile &stored)
{
    Recorded recorded;
    try {
        retry.untilDone([&] {
            m_store.write([&](platform::Database &database) {
                recorded = recordImport(database, object, stored, nowInMilliseconds());
            });
        });
    } catch (const SqliteError &error) {
        leaveUnsaved(stored, error.message());
    } catch (const FileError &error) {
        leaveUnsaved(stored, error.message());
    }
    return recorded;
}

void DicomDB::leaveUnsaved(const StoredFile &stored, const QString &why)
{
    const platform::MutexLock lock(m_unsavedMutex);
    m_unsaved.insert(stored.pathString, stored.store);
    throw GatewayImportError(Kind::databaseSaveRejected, Blame::storage, why);
}

/// Lets go of what imports moved in whose rows could not be saved. Whether a failed commit took place after
/// all is known for certain only after the next one, so nothing is removed before that; and until then
/// nothing more is moved in, since its rows could not be saved either.
void DicomDB::settleUnsaved(StorageRetry &retry)
{
    Unsaved unsaved;
    {
        const platform::MutexLock lock(m_unsavedMutex);
        unsaved = m_unsaved;
    }
    if (unsaved.isEmpty()) {
        return;
    }
    QSet<QString> paths;
    const auto note = [&](platform::Database &database) {
        const QStringList ofThisStore = unsaved.keys(storeTurn(database));
        paths = QSet<QString>(ofThisStore.begin(), ofThisStore.end());
        noteForRemoval(database, paths);
    };
    try {
        retry.untilDone([&] { m_store.write(note); });
    } catch (const SqliteError &error) {
        throw GatewayImportError(Kind::databaseSaveRejected, Blame::storage, error.message());
    }
    removeReleased(paths, RemovalReason::unrecorded);
    const platform::MutexLock lock(m_unsavedMutex);
    m_unsaved.removeIf([&](Unsaved::iterator entry) {
        return unsaved.contains(entry.key()) && unsaved.value(entry.key()) == entry.value();
    });
}

/// A file that holds the same bytes as the one that took its place has served.
void DicomDB::dropEqualCopies(const Recorded &recorded, const StoredFile &stored)
{
    QSet<QString> equal;
    for (const QString &path : recorded.replaced) {
        if (platform::haveSameContent(fileURL(path).toLocalFile(), stored.path)) {
            equal.insert(path);
        }
    }
    if (equal.isEmpty()) {
        return;
    }
    const auto release = [&](platform::Database &database) {
        if (stored.store == storeTurn(database)) {
            releaseSuperseded(database, equal);
        }
    };
    if (m_store.tryWrite(release)) {
        removeReleased(equal, RemovalReason::superseded);
    }
}

ImportedFileSummary DBService::importFile(const QUrl &url)
{
    return m_index.importFile(url, m_source);
}

} // namespace gateway::index
