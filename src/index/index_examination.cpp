#include "index/index_examination.h"

#include "index/file_store.h"
#include "index/index_store.h"
#include "index/sent_instances.h"
#include "index/stored_copies.h"
#include "platform/concurrency/clock.h"
#include "platform/dicom/dicom_parsing.h"
#include "platform/files/file_error.h"
#include "platform/files/files.h"
#include "platform/sqlite/database.h"
#include "platform/sqlite/sqlite_error.h"

#include <cerrno>

#include <algorithm>

namespace gateway::index {

using platform::Database;
using platform::Statement;
using platform::StoppableScope;

namespace {

constexpr const char *kFilesBehind = "SELECT pathString, min(syncState IS 1), max(syncState IS 3) "
                                     "FROM DicomImage INDEXED BY DicomImage_path WHERE pathString > ? "
                                     "GROUP BY pathString ORDER BY pathString LIMIT ?";

constexpr const char *kOneFile =
    "SELECT pathString, min(syncState IS 1), max(syncState IS 3) "
    "FROM DicomImage INDEXED BY DicomImage_path WHERE pathString = ? GROUP BY pathString";

RecordedFile recordedAt(const Statement &row)
{
    return {row.text(0), row.integer(1) != 0, row.integer(2) != 0};
}

} // namespace

std::int64_t IndexExamination::complaints(const std::stop_token &stop) const
{
    return m_store.read([&](Database &database) {
        const StoppableScope stoppable(database, stop);
        std::int64_t count = 0;
        Statement row = database.prepare("PRAGMA quick_check");
        while (row.step()) {
            count += row.text(0) == QStringLiteral("ok") ? 0 : 1;
        }
        Statement reference = database.prepare("PRAGMA foreign_key_check");
        while (reference.step()) {
            ++count;
        }
        return count;
    });
}

bool IndexExamination::isWritable()
{
    try {
        m_store.write([](Database &database) {
            // There and back: what stays as it is SQLite doesn't write at all.
            database.exec("UPDATE Ledger SET nextFileNumber = nextFileNumber + 1");
            database.exec("UPDATE Ledger SET nextFileNumber = nextFileNumber - 1");
        });
        return true;
    } catch (const platform::SqliteError &) {
        return false;
    }
}

bool IndexExamination::isStoreWritable()
{
    return m_files.isWritable();
}

TallyDifferences IndexExamination::tallyDifferences(const std::stop_token &stop) const
{
    return m_store.read([&](Database &database) {
        const StoppableScope stoppable(database, stop);
        return compareTallies(database);
    });
}

void IndexExamination::mendTallies()
{
    m_store.write(rebuildTallies);
}

QList<RecordedFile>
IndexExamination::recordedFiles(const QString &after, int limit, const std::stop_token &stop) const
{
    return m_store.read([&](Database &database) {
        const StoppableScope stoppable(database, stop);
        QList<RecordedFile> page;
        Statement row = database.prepare(kFilesBehind);
        row.bindAll(after, limit);
        while (row.step()) {
            page.append(recordedAt(row));
        }
        return page;
    });
}

std::optional<RecordedFile> IndexExamination::recordedFile(const QString &storagePath) const
{
    return m_store.read([&](Database &database) {
        Statement row = database.prepare(kOneFile);
        row.bindAll(storagePath);
        return row.step() ? std::optional(recordedAt(row)) : std::nullopt;
    });
}

bool IndexExamination::isNumbered(const QString &storagePath) const
{
    return m_files.numbered(storagePath).has_value();
}

std::int64_t IndexExamination::rowsWithoutFile(const std::stop_token &stop) const
{
    return m_store.read([&](Database &database) {
        const StoppableScope stoppable(database, stop);
        return database.integer(
            "SELECT (SELECT count(*) FROM DicomImage INDEXED BY DicomImage_path WHERE pathString IS NULL) + "
            "(SELECT count(*) FROM DicomImage INDEXED BY DicomImage_path WHERE pathString = '')");
    });
}

std::int64_t IndexExamination::pendingRemovals() const
{
    return m_store.read(
        [](Database &database) { return database.integer("SELECT count(*) FROM PendingRemoval"); });
}

/// True for a file that has its place in the index: rows, a note that it may go, or a note that it stands
/// beside a file that is there and was acknowledged later.
bool IndexExamination::hasItsPlace(Database &database, const QString &pathString) const
{
    const QString successor = successorOf(database, pathString);
    return successor.isEmpty() ? isSpokenFor(database, pathString)
                               : !platform::isKnownToBeAbsent(m_files.fileURL(successor).toLocalFile()) &&
                                     !isLaterThanSuccessor(database, pathString);
}

bool IndexExamination::hasPlace(const QString &pathString) const
{
    return m_store.read([&](Database &database) { return hasItsPlace(database, pathString); });
}

UnrecordedFile IndexExamination::lookAt(const QString &pathString) const
{
    UnrecordedFile file{
        UnrecordedFile::Kind::none, m_files.numbered(pathString), m_files.fileURL(pathString), {}, {}};
    // In this order: an import writes its rows first and says then that it is over. A file that was seen,
    // isn't being imported and has no rows after that belongs to none.
    if (m_files.isBeingImported(pathString)) {
        return file;
    }
    const QString path = file.fileURL.toLocalFile();
    if (hasPlace(pathString)) {
        return file;
    }
    try {
        const StoreTurn store = m_store.read(storeTurn); // before a look at the file
        const std::int64_t modified = platform::fileIdentityOrThrow(path).modified.count();
        if (file.place) {
            file.place->acknowledged = modified;
            file.place->store = store;
        }
        examine(file);
    } catch (const platform::FileError &error) {
        const bool isNoFile = error.code() == EINVAL || platform::isKnownToBeAbsent(path);
        file.kind = isNoFile ? UnrecordedFile::Kind::none : UnrecordedFile::Kind::unexamined;
    }
    return file;
}

/// Tells what a file without a place is. \throws FileError
void IndexExamination::examine(UnrecordedFile &file) const
{
    const QString path = file.fileURL.toLocalFile();
    const platform::ParsedFile found = m_parser.parse(path);
    using Fate = platform::ParsedFile::Fate;
    file.object = parsedObject(found.elements);
    if (found.fate != Fate::parsed || file.object.patientUID.isEmpty()) {
        const bool isTrouble = found.fate == Fate::trouble || found.fate == Fate::unavailable;
        const bool isStillThere = !platform::isKnownToBeAbsent(path) && !hasPlace(m_files.pathStringOf(path));
        file.kind = !isStillThere ? UnrecordedFile::Kind::none
                    : isTrouble   ? UnrecordedFile::Kind::unexamined
                                  : UnrecordedFile::Kind::unreadable;
        return;
    }
    compareWithCurrent(file);
}

/// Tells what a readable file without a place is beside the one that its image's rows refer to.
/// \throws FileError
void IndexExamination::compareWithCurrent(UnrecordedFile &file) const
{
    // A file outside of the store's places has no number, and never takes the place of another.
    const QString path = file.fileURL.toLocalFile();
    const StoredFile place = file.place.value_or(StoredFile{path, m_files.pathStringOf(path), -1, 0});
    const Judgement judgement =
        m_store.read([&](Database &database) { return judge(database, file.object, place); });
    const bool isWhole = !file.object.isDamaged;
    file.kind = UnrecordedFile::Kind::earlierCopy;
    if (judgement.standing == Standing::current) {
        file.kind = UnrecordedFile::Kind::image;
    } else if (isWhole && judgement.standing == Standing::superseded && file.place) {
        const platform::ParsedFile rival =
            m_parser.parse(m_files.fileURL(judgement.rival.pathString).toLocalFile());
        if (parsedObject(rival.elements).isDamaged) {
            file.kind = UnrecordedFile::Kind::wholeCopy;
            file.damagedRival = judgement.rival.pathString;
        }
    }
    if (file.kind == UnrecordedFile::Kind::earlierCopy && isNotedBeside(place, judgement)) {
        file.kind = UnrecordedFile::Kind::none; // it came later, but is damaged
    }
}

bool IndexExamination::isNotedBeside(const StoredFile &file, const Judgement &judgement) const
{
    return judgement.standing == Standing::superseded && m_store.read([&](Database &database) {
        return successorOf(database, file.pathString) == judgement.rival.pathString;
    });
}

std::int64_t IndexExamination::record(const QList<UnrecordedFile> &files)
{
    std::int64_t recorded = 0;
    m_store.write([&](Database &database) {
        recorded = 0;
        for (const UnrecordedFile &file : files) {
            if (file.place->store != storeTurn(database) || hasItsPlace(database, file.place->pathString) ||
                platform::isKnownToBeAbsent(file.place->path)) {
                continue;
            }
            if (file.kind == UnrecordedFile::Kind::wholeCopy) {
                database.prepare("UPDATE DicomImage SET damaged = 1 WHERE pathString = ?")
                    .bindAll(file.damagedRival)
                    .run();
            }
            recordImport(database, file.object, *file.place, m_clock.now().toMSecsSinceEpoch());
            if (lacksSentInstances(database)) { // whoever recorded it before may have sent it, or another
                noteUnknownHistory(database, file.object.sopInstanceUID);
            }
            ++recorded;
        }
    });
    for (const UnrecordedFile &file : files) {
        m_files.noteAcknowledged(file.place->acknowledged);
    }
    return recorded;
}

std::int64_t IndexExamination::damagedFiles() const
{
    return m_store.read([](Database &database) {
        return database.integer(
            "SELECT (SELECT count(DISTINCT pathString) FROM DicomImage WHERE damaged <> 0) + "
            "(SELECT count(*) FROM SupersededFile JOIN DicomImage ON DicomImage.pathString = successor "
            "WHERE frameID = 0 AND SupersededFile.acknowledged > DicomImage.acknowledged)");
    });
}

std::int64_t IndexExamination::owedFiles() const
{
    const std::vector<OwedFile> files =
        m_store.read([](Database &database) { return index::owedFiles(database); });
    return std::ranges::count_if(files, [this](const OwedFile &file) { return !wasSent(file); });
}

std::vector<OwedFile> IndexExamination::owedFilesThatWereSent(const QString &successor) const
{
    std::vector<OwedFile> files =
        m_store.read([&](Database &database) { return index::owedFiles(database, successor); });
    std::erase_if(files, [this](const OwedFile &file) { return !wasSent(file); });
    return files;
}

bool IndexExamination::wasSent(const OwedFile &file) const
{
    return file.sentVersion != 0 &&
           m_parser.versionOf(m_files.fileURL(file.pathString).toLocalFile()) == file.sentVersion;
}

} // namespace gateway::index
