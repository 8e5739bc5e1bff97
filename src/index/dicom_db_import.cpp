// Taking a file in.

#include "index/dicom_db.h"
#include "index/parsed_object.h"
#include "index/patience.h"
#include "index/stored_copies.h"
#include "platform/dicom/dicom_parsing.h"
#include "platform/files/file_error.h"
#include "platform/files/files.h"

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

PrivateFile copyPatiently(FileStore &files, Patience &patience, const QString &source, ImportSource hands)
{
    try {
        return patience.untilDone([&] { return files.takePrivateCopy(source, hands); });
    } catch (const FileError &error) {
        // Trouble of the one file must not pass for a store that can take nothing in.
        const Blame blame = platform::isReadable(source) ? Blame::storage : Blame::reading;
        throw GatewayImportError(Kind::copyToTemporaryFailed, blame, error.message());
    }
}

ParsedObject parse(platform::DicomParsing &parser, const QString &path, ImportSource source)
{
    const platform::ParsedFile file = parser.parse(path);
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
    return object;
}

ImportedFileSummary summaryOf(const ParsedObject &object, const Recorded &recorded, const QUrl &storedFile)
{
    return {object.patientUID, object.studyInstanceUID.value_or(QString()), recorded.seriesKeys, storedFile};
}

/// An earlier import may have died, or failed, before its file's name was durable.
void makeDurablePatiently(FileStore &files, Patience &patience, const StoredFile &stored)
{
    try {
        patience.untilDone([&] { files.makeDurable(stored); });
    } catch (const FileError &error) {
        throw GatewayImportError(Kind::moveToLocalDirectoryFailed, Blame::storage, error.message());
    }
}

StoredFile movePatiently(FileStore &files, Patience &patience, PrivateCopy &copy)
{
    std::optional<StoredFile> stored;
    try {
        stored = patience.untilDone([&] { return files.moveIn(copy.file()); });
        copy.wasMoved();
        patience.untilDone([&] { files.makeDurable(*stored); });
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
    Patience patience(m_with.clock, m_stop.get_token());
    settleUnsaved(patience);
    std::optional<StoredFile> stored = takeUpEarlierImport(path, source);
    std::optional<ImportUnderWay> underWay;
    ParsedObject object;
    if (stored) {
        underWay.emplace(m_files, *stored);
        makeDurablePatiently(m_files, patience, *stored);
        object = parse(m_with.parser, stored->path, source);
    } else {
        PrivateCopy copy(m_files, copyPatiently(m_files, patience, path, source));
        object = parse(m_with.parser, copy.path(), source);
        stored = movePatiently(m_files, patience, copy);
        underWay.emplace(m_files, *stored);
    }
    stored->origin = source == ImportSource::foreign ? FileOrigin::broughtIn : FileOrigin::network;
    if (object.patientUID.isEmpty()) {
        throw GatewayImportError(Kind::databaseSaveRejected, Blame::file);
    }
    const Recorded recorded = save(patience, object, *stored);
    underWay.reset(); // what is being imported isn't removed
    removeReleased(recorded.released, RemovalReason::superseded);
    dropEqualCopies(recorded, *stored);
    return summaryOf(object, recorded, fileURL(stored->pathString));
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

Recorded DicomDB::save(Patience &patience, const ParsedObject &object, const StoredFile &stored)
{
    Recorded recorded;
    try {
        patience.untilDone([&] {
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
    m_unsaved.insert(stored.pathString);
    throw GatewayImportError(Kind::databaseSaveRejected, Blame::storage, why);
}

/// Lets go of what imports moved in whose rows could not be saved. Whether a failed commit took place after
/// all is known for certain only after the next one, so nothing is removed before that; and until then
/// nothing more is moved in, since its rows could not be saved either.
void DicomDB::settleUnsaved(Patience &patience)
{
    QSet<QString> paths;
    {
        const platform::MutexLock lock(m_unsavedMutex);
        paths = m_unsaved;
    }
    if (paths.isEmpty()) {
        return;
    }
    try {
        patience.untilDone(
            [&] { m_store.write([&](platform::Database &database) { noteForRemoval(database, paths); }); });
    } catch (const SqliteError &error) {
        throw GatewayImportError(Kind::databaseSaveRejected, Blame::storage, error.message());
    }
    removeReleased(paths, RemovalReason::unrecorded);
    const platform::MutexLock lock(m_unsavedMutex);
    m_unsaved.subtract(paths);
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
    const bool noted =
        m_store.tryWrite([&](platform::Database &database) { releaseSuperseded(database, equal); });
    if (noted) {
        removeReleased(equal, RemovalReason::superseded);
    }
}

ImportedFileSummary DBService::importFile(const QUrl &url)
{
    return m_index.importFile(url, m_source);
}

} // namespace gateway::index
