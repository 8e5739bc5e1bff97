// Letting go of rows and of the files behind them: rows first, in one transaction with the note of which
// files are to go; then the files, each only if no row refers to it any more; then the notes.

#include "index/dicom_db.h"
#include "index/row_identity.h"
#include "index/sent_instances.h"
#include "index/stored_copies.h"
#include "platform/sqlite/database.h"

#include <QtCore/QSet>

namespace gateway::index {

using platform::Database;
using platform::MutexLock;
using platform::SqliteError;
using platform::Statement;

namespace {

// So many rows go in one transaction: importers share the writer, and wait for no more than these.
constexpr int kRowsOfABatch = 500;

// So many files are looked at between two notes in the index.
constexpr int kFilesOfAPage = 500;

// Of the images that went to the cloud before a date. Rows stay as long as their file stands for another that
// its own upload doesn't prove (see kProven).
const std::string kMayGo =
    " FROM DicomImage INDEXED BY DicomImage_uploaded "
    "WHERE syncState = 1 AND uploadDate IS NOT NULL AND leftCloud = 0 AND uploadDate < ? "
    "AND NOT EXISTS (SELECT 1 FROM SupersededFile WHERE successor = DicomImage.pathString "
    "AND (SupersededFile.acknowledged >= DicomImage.acknowledged OR DicomImage.damaged <> 0 "
    "OR SupersededFile.owed <> 0)) ";

const std::string kEligible = "SELECT pk, pathString" + kMayGo + "ORDER BY uploadDate, pk LIMIT ?";

const std::string kCountEligible = "SELECT count(*) FROM (SELECT 1" + kMayGo + "LIMIT ?)";

constexpr std::int64_t kAll = -1;

// The count alone would do. But the images of a series go with it: what is deleted for being empty is looked
// at, so that no slip of a count can take an image along.
constexpr const char *kDeleteEmptySeries =
    "DELETE FROM Series INDEXED BY Series_empty WHERE imageCount = 0 "
    "AND NOT EXISTS (SELECT 1 FROM DicomImage WHERE DicomImage.series = Series.pk)";
constexpr const char *kDeleteEmptyStudies =
    "DELETE FROM Study INDEXED BY Study_empty WHERE seriesCount = 0 "
    "AND NOT EXISTS (SELECT 1 FROM Series WHERE Series.study = Study.pk)";

// By the tallies of the rows, which follow each change of an image, and what a person deleted there since.
constexpr const char *kOutsideCloudOfStudy =
    "SELECT imageCount - syncedCount + (SELECT count(*) FROM DicomImage WHERE leftCloud <> 0 "
    "AND DicomImage.syncState = 1 AND series IN (SELECT pk FROM Series WHERE study = Study.pk)) "
    "FROM Study WHERE pk = ?";
constexpr const char *kOutsideCloudOfSeries =
    "SELECT imageCount - syncedCount + (SELECT count(*) FROM DicomImage WHERE leftCloud <> 0 "
    "AND DicomImage.syncState = 1 AND series = Series.pk) FROM Series WHERE pk = ?";

// In the order of CloudDeletion.
constexpr const char *kNoteCloudDeletion[] = {
    // One that was begun before and never ended may have been done: a refusal of this one says nothing of it.
    "UPDATE DicomImage SET leftCloud = min(leftCloud + 1, 2) WHERE syncState IN (1, 3) AND series = ?",
    "UPDATE DicomImage SET leftCloud = 2 WHERE syncState IN (1, 3) AND series = ?",
    "UPDATE DicomImage SET leftCloud = 0 WHERE leftCloud = 1 AND series = ?"};

constexpr const char *kPathsOfStudy =
    "SELECT DISTINCT pathString FROM DicomImage JOIN Series ON Series.pk = series WHERE study = ?";
constexpr const char *kPathsOfSeries = "SELECT DISTINCT pathString FROM DicomImage WHERE series = ?";

void addTrimmed(QSet<QString> &paths, const QString &stored)
{
    const QString path = stored.trimmed();
    if (!path.isEmpty()) {
        paths.insert(path);
    }
}

std::int64_t countEligible(Database &database, std::int64_t cutoff, std::int64_t atMost)
{
    Statement row = database.prepare(kCountEligible);
    row.bindAll(cutoff, atMost);
    return row.step() ? row.integer(0) : 0;
}

std::int64_t runAndCount(Database &database, const char *sql)
{
    database.prepare(sql).run();
    return database.changes();
}

struct PrunedRows
{
    std::int64_t images = 0;
    std::int64_t series = 0;
    std::int64_t studies = 0;
    QSet<QString> paths;
};

PrunedRows pruneRows(Database &database, std::int64_t cutoff)
{
    std::vector<std::int64_t> keys; // read to the end before anything is written
    PrunedRows rows;
    Statement image = database.prepare(kEligible);
    image.bindAll(cutoff, kRowsOfABatch);
    while (image.step()) {
        keys.push_back(image.integer(0));
        addTrimmed(rows.paths, image.text(1));
    }
    if (keys.empty()) {
        return rows;
    }
    for (const std::int64_t key : keys) {
        database.prepare("DELETE FROM DicomImage WHERE pk = ?").bindAll(key).run();
    }
    rows.images = std::ssize(keys);
    noteForRemoval(database, rows.paths);
    rows.paths += releaseBesideDeleted(database, rows.paths);
    rows.series = runAndCount(database, kDeleteEmptySeries);
    rows.studies = runAndCount(database, kDeleteEmptyStudies);
    index::rollUpAllStates(database);
    return rows;
}

constexpr const char *kForgetRemovals = "DELETE FROM PendingRemoval WHERE pathString NOT LIKE '/%'";

/// Rows say nothing of files any more: those of images that are in the cloud go, and the others stay as
/// images without a file. All files of the store are to be recorded, and nobody knows what was sent of them.
void forgetFiles(Database &database)
{
    database.exec(kForgetRemovals);
    database.exec("DELETE FROM SupersededFile");
    database.exec("DELETE FROM DicomImage WHERE syncState = 1 AND pathString NOT LIKE '/%'");
    database.exec("UPDATE DicomImage SET pathString = '', damaged = 0, syncState = 0 "
                  "WHERE pathString NOT LIKE '/%'");
    database.exec(kDeleteEmptySeries);
    database.exec(kDeleteEmptyStudies);
    index::rollUpAllStates(database);
    database.exec("UPDATE Ledger SET recordAgainFrom = 0");
    beginStoreTurn(database);
    noteUnrecordedSends(database);
}

/// Deletes the row of a study or series and adds the paths of its images.
void deleteParent(
    Database &database, std::int64_t key, const char *pathsOf, const char *deletion, QSet<QString> &paths)
{
    Statement image = database.prepare(pathsOf);
    image.bindAll(key);
    while (image.step()) {
        addTrimmed(paths, image.text(0));
    }
    database.prepare(deletion).bindAll(key).run();
}

std::int64_t countOutsideCloud(Database &database, const char *count, std::int64_t key)
{
    Statement row = database.prepare(count);
    row.bindAll(key);
    return row.step() ? row.integer(0) : 0;
}

/// The series with this UID, as a cloud knows it, or all of the study where it is empty.
std::vector<std::int64_t> seriesNamed(Database &database, std::int64_t study, const platform::SeriesUid &uid)
{
    std::vector<std::int64_t> keys;
    Statement row =
        database.prepare("SELECT pk FROM Series WHERE study = ?1 AND "
                         "(?2 = '' OR trim(seriesDICOMUID) = ?2 OR trim(originalSeriesInstanceUID) = ?2)");
    row.bindAll(study, uid.value().trimmed());
    while (row.step()) {
        keys.push_back(row.integer(0));
    }
    return keys;
}

/// Whether a row has more images outside the cloud than may be lost with it.
bool isMoreThan(const std::optional<OutsideCloud> &known,
                const QString &identity,
                Database &database,
                const char *count,
                std::int64_t key)
{
    return known && countOutsideCloud(database, count, key) > known->value(identity);
}

/// Trimmed, without empty ones and repeats, in the given order.
QStringList normalized(const QStringList &identifiers)
{
    QStringList kept;
    for (const QString &identifier : identifiers) {
        kept.append(identifier.trimmed());
    }
    kept.removeAll(QString());
    kept.removeDuplicates();
    return kept;
}

} // namespace

bool DicomDB::acceptStore()
{
    bool isAccepted = false;
    {
        const MutexLock lock(m_deletion); // whoever removes files has their names of the store before
        isAccepted = m_files.accept();
    }
    postLocalSyncStateChanged();
    return isAccepted;
}

/// Called in the midst of `acceptStore`.
bool DicomDB::letGoOfFiles()
{
    return m_store.tryWrite(forgetFiles);
}

/// May be called while the index is made.
bool DicomDB::forgetRemovals()
{
    return m_store.tryWrite([](Database &database) { database.exec(kForgetRemovals); });
}

bool DicomDB::pruneBatch(std::int64_t cutoff, LocalPruneResult &result)
{
    const MutexLock lock(m_deletion);
    PrunedRows rows;
    if (!m_store.tryWrite([&](Database &database) { rows = pruneRows(database, cutoff); })) {
        return false;
    }
    result.deletedImageCount += rows.images;
    result.deletedSeriesCount += rows.series;
    result.deletedStudyCount += rows.studies;
    result.deletedFileCount += removeFiles(rows.paths, RemovalReason::retention);
    return true;
}

LocalPruneResult DicomDB::pruneSyncedImages(const QDateTime &cutoff)
{
    if (m_files.isOutOfSight()) {
        return {}; // the rows tell its files from another store's
    }
    finishRemovals();
    const std::int64_t before = cutoff.toMSecsSinceEpoch();
    const auto eligible = [&](std::int64_t atMost) -> std::int64_t {
        try {
            return m_store.read([&](Database &database) { return countEligible(database, before, atMost); });
        } catch (const SqliteError &) {
            return 0;
        }
    };
    LocalPruneResult result;
    while (eligible(1) > 0 && pruneBatch(before, result)) {
    }
    result.failedImageCount = eligible(kAll);
    result.eligibleImageCount = result.deletedImageCount + result.failedImageCount;
    if (result.deletedImageCount > 0) {
        postLocalSyncStateChanged();
    }
    return result;
}

std::optional<OutsideCloud> DicomDB::imagesOutsideCloud(const QStringList &studies)
{
    const auto find = [](Database &database, const QString &identity) {
        return findStudy(database, identity);
    };
    return countOutside(normalized(studies), find, kOutsideCloudOfStudy);
}

std::optional<OutsideCloud> DicomDB::seriesImagesOutsideCloud(const QString &study, const QStringList &series)
{
    const auto find = [&study](Database &database, const QString &identity) {
        const auto parent = findStudy(database, study);
        return parent ? findSeries(database, *parent, identity) : std::nullopt;
    };
    return countOutside(normalized(series), find, kOutsideCloudOfSeries);
}

std::optional<OutsideCloud>
DicomDB::countOutside(const QStringList &identities, const Find &find, const char *count) const
{
    OutsideCloud outside;
    try {
        m_store.read([&](Database &database) {
            outside.clear();
            for (const QString &identity : identities) {
                const auto key = find(database, identity);
                const std::int64_t images = key ? countOutsideCloud(database, count, *key) : 0;
                if (images > 0) {
                    outside.insert(identity, images);
                }
            }
        });
    } catch (const SqliteError &) {
        return std::nullopt;
    }
    return outside;
}

DeletionCounts DicomDB::deleteStudies(const QStringList &studyInstanceUIDs,
                                      const std::optional<OutsideCloud> &known)
{
    const QStringList wanted = normalized(studyInstanceUIDs);
    return deleteParents(wanted.size(), [&](Database &database, QSet<QString> &paths) {
        std::int64_t deleted = 0;
        for (const QString &identity : wanted) {
            const auto study = findStudy(database, identity);
            if (study && !isMoreThan(known, identity, database, kOutsideCloudOfStudy, *study)) {
                deleteParent(database, *study, kPathsOfStudy, "DELETE FROM Study WHERE pk = ?", paths);
                ++deleted;
            }
        }
        return deleted;
    });
}

DeletionCounts DicomDB::deleteSeries(const QString &studyInstanceUID,
                                     const QStringList &seriesInstanceUIDs,
                                     const std::optional<OutsideCloud> &known)
{
    const QStringList wanted = normalized(seriesInstanceUIDs);
    if (studyInstanceUID.trimmed().isEmpty()) {
        return DeletionCounts::of(wanted.size(), 0);
    }
    return deleteParents(wanted.size(), [&](Database &database, QSet<QString> &paths) {
        std::int64_t deleted = 0;
        const auto study = findStudy(database, studyInstanceUID);
        for (const QString &identity : study ? wanted : QStringList()) {
            const auto series = findSeries(database, *study, identity);
            if (series && !isMoreThan(known, identity, database, kOutsideCloudOfSeries, *series)) {
                deleteParent(database, *series, kPathsOfSeries, "DELETE FROM Series WHERE pk = ?", paths);
                ++deleted;
            }
        }
        return deleted;
    });
}

DeletionCounts DicomDB::deleteParents(std::int64_t requested, const DeleteRows &deleteRows)
{
    if (requested == 0) {
        return {};
    }
    const MutexLock lock(m_deletion);
    std::int64_t deleted = 0;
    QSet<QString> paths;
    const bool saved = m_store.tryWrite([&](Database &database) {
        paths.clear();
        deleted = deleteRows(database, paths);
        noteForRemoval(database, paths);
        paths += releaseBesideDeleted(database, paths);
    });
    if (!saved) {
        return DeletionCounts::of(requested, 0);
    }
    removeFiles(paths, RemovalReason::deletion);
    return DeletionCounts::of(requested, deleted);
}

bool DicomDB::noteCloudDeletion(const platform::StudyUid &study,
                                const platform::SeriesUid &series,
                                CloudDeletion step)
{
    return m_store.tryWrite([&](Database &database) {
        const auto row = findStudy(database, study.value());
        for (const std::int64_t key :
             row ? seriesNamed(database, *row, series) : std::vector<std::int64_t>()) {
            database.prepare(kNoteCloudDeletion[static_cast<int>(step)]).bindAll(key).run();
        }
    });
}

void DicomDB::finishRemovals()
{
    QString last;
    for (;;) {
        const MutexLock lock(m_deletion);
        QSet<QString> page;
        try {
            m_store.read([&](Database &database) {
                Statement row = database.prepare(
                    "SELECT pathString FROM PendingRemoval WHERE pathString > ? ORDER BY pathString LIMIT ?");
                row.bindAll(last, kFilesOfAPage);
                while (row.step()) {
                    last = row.text(0);
                    page.insert(last);
                }
            });
        } catch (const SqliteError &) {
            return; // next time
        }
        if (page.isEmpty()) {
            return;
        }
        removeFiles(page, RemovalReason::resumed);
    }
}

std::int64_t DicomDB::removeFiles(const QSet<QString> &paths, RemovalReason reason)
{
    std::int64_t removed = 0;
    QStringList gone;
    QStringList kept;
    for (const QString &path : paths) {
        bool isBeingImported = false;
        const auto isInUse = [&] {
            isBeingImported = m_files.isBeingImported(path);
            return isBeingImported || !mayRemove(path);
        };
        switch (m_files.removeUnless(path, isInUse)) {
        case FileStore::Removal::removed:
            ++removed;
            m_collaborators.onFileRemoved(fileURL(path), reason);
            [[fallthrough]];
        case FileStore::Removal::absent:
            gone.append(path);
            break;
        case FileStore::Removal::kept:
            // What is being imported stays noted: that import may leave no row, or its row may have gone.
            if (!isBeingImported) {
                kept.append(path);
            }
            break;
        case FileStore::Removal::failed:
            break; // stays noted
        }
    }
    // A file that could come back after a power cut stays noted, too.
    forgetRemovals(m_files.makeRemovalsDurable(gone) ? kept + gone : kept);
    return removed;
}

void DicomDB::forgetRemovals(const QStringList &paths)
{
    if (paths.isEmpty()) {
        return;
    }
    m_store.tryWrite([&](Database &database) {
        for (const QString &path : paths) {
            database.prepare("DELETE FROM PendingRemoval WHERE pathString = ?").bindAll(path).run();
        }
    });
}

/// True for a file that is noted for its removal, still, and that nothing needs. Whoever wants it removed may
/// have noted it while another store was that of the index. Throws SqliteError.
bool DicomDB::mayRemove(const QString &path) const
{
    return m_store.read(
        [&](Database &database) { return isNotedForRemoval(database, path) && !isNeeded(database, path); });
}

/// True for a file that waits for its removal, and when that can't be told.
bool DicomDB::isToGo(const QString &path) const
{
    try {
        return m_store.read([&](Database &database) { return isNotedForRemoval(database, path); });
    } catch (const SqliteError &) {
        return true;
    }
}

/// Removes those of the files that are noted for it; what can't be removed now stays noted.
void DicomDB::removeReleased(const QSet<QString> &paths, RemovalReason reason)
{
    if (!paths.isEmpty()) {
        const MutexLock lock(m_deletion);
        removeFiles(paths, reason);
    }
}

} // namespace gateway::index
