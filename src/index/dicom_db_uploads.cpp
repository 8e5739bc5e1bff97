// Choosing what to upload, and moving rows through their states.

#include "index/dicom_db.h"
#include "platform/sqlite/database.h"

#include <QtCore/QSet>

#include <algorithm>

namespace gateway::index {

using platform::Database;
using platform::SqliteError;
using platform::Statement;

namespace {

constexpr const char *kNextWaiting =
    "SELECT pk, createDate, pathString FROM DicomImage INDEXED BY DicomImage_waiting "
    "WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' "
    "AND (createDate, pk) > (?, ?) ORDER BY createDate, pk";

constexpr const char *kRowsOfPath =
    "SELECT pk, createDate, sopInstanceUID, originalSOPInstanceUID FROM DicomImage INDEXED BY "
    "DicomImage_path "
    "WHERE pathString = ? AND (syncState IS NULL OR syncState IN (0, 2, 3)) ORDER BY createDate, pk";

constexpr const char *kPutBack = "UPDATE DicomImage SET syncState = 0, uploadDate = NULL WHERE pk = ?";

QStringList ascending(const QSet<QString> &texts)
{
    QStringList list(texts.begin(), texts.end());
    list.sort();
    return list;
}

void addTrimmed(QSet<QString> &texts, const QString &text)
{
    const QString trimmed = text.trimmed();
    if (!trimmed.isEmpty()) {
        texts.insert(trimmed);
    }
}

std::optional<std::int64_t> seriesOf(Database &database, ImageObjectID image)
{
    Statement row = database.prepare("SELECT series FROM DicomImage WHERE pk = ?");
    row.bindAll(image.value);
    return row.step() ? std::optional(row.integer(0)) : std::nullopt;
}

SeriesKeys seriesOfPath(Database &database, const QString &path)
{
    SeriesKeys series;
    Statement row = database.prepare("SELECT DISTINCT series FROM DicomImage WHERE pathString = ?");
    row.bindAll(path);
    while (row.step()) {
        series.insert(row.integer(0));
    }
    return series;
}

struct RowInProgress
{
    ImageObjectID image;
    std::int64_t series = 0;
    std::int64_t study = 0;
};

std::vector<RowInProgress> rowsInProgress(Database &database)
{
    std::vector<RowInProgress> rows;
    Statement row = database.prepare(
        "SELECT DicomImage.pk, series, study FROM DicomImage INDEXED BY DicomImage_inProgress "
        "JOIN Series ON Series.pk = series WHERE DicomImage.syncState = 3");
    while (row.step()) {
        rows.push_back({{row.integer(0)}, row.integer(1), row.integer(2)});
    }
    return rows;
}

RecoveryCounts putAllBack(Database &database)
{
    const std::vector<RowInProgress> rows = rowsInProgress(database);
    SeriesKeys series;
    std::set<std::int64_t> studies;
    for (const RowInProgress &row : rows) {
        database.prepare(kPutBack).bindAll(row.image.value).run();
        series.insert(row.series);
        studies.insert(row.study);
    }
    rollUpSeriesAndStudies(database, series);
    return {std::ssize(rows), std::ssize(series), std::ssize(studies), !rows.empty()};
}

} // namespace

QList<PendingImageUpload> DicomDB::pendingImageUploads(int limit) const
{
    PendingCursor fromTheOldest;
    return pendingImageUploads(limit, fromTheOldest);
}

QList<PendingImageUpload> DicomDB::pendingImageUploads(int limit, PendingCursor &cursor) const
{
    const PendingCursor start = cursor;
    PendingCursor reached = start;
    QList<PendingImageUpload> candidates;
    try {
        m_store.read([&](Database &database) {
            QSet<QString> passed;
            Statement row = database.prepare(kNextWaiting);
            row.bindAll(start.createDate, start.row);
            while (row.step()) {
                const QString stored = row.text(2);
                const QString path = stored.trimmed();
                if (!path.isEmpty() && !passed.contains(path)) {
                    if (candidates.size() >= std::max(1, limit)) {
                        return;
                    }
                    passed.insert(path);
                    if (auto candidate = gather(database, stored, start)) {
                        candidates.append(*std::move(candidate));
                    }
                }
                reached = {row.integer(1), row.integer(0)};
            }
        });
    } catch (const SqliteError &) {
        return {};
    }
    cursor = reached;
    return candidates;
}

std::optional<PendingImageUpload>
DicomDB::gather(Database &database, const QString &storedPath, const PendingCursor &start) const
{
    PendingImageUpload candidate;
    candidate.storagePath = storedPath.trimmed();
    candidate.fileURL = fileURL(candidate.storagePath);
    QSet<QString> keys;
    QSet<QString> uids;
    Statement row = database.prepare(kRowsOfPath);
    row.bindAll(storedPath);
    while (row.step()) {
        if (PendingCursor{row.integer(1), row.integer(0)} <= start) {
            return std::nullopt; // an earlier page has offered it
        }
        candidate.imageObjectIDs.append(ImageObjectID{row.integer(0)});
        addTrimmed(keys, row.text(2));
        addTrimmed(uids, row.text(3));
    }
    candidate.sopInstanceUIDs = ascending(keys);
    candidate.originalSOPInstanceUIDs = ascending(uids);
    return candidate;
}

void DicomDB::markImagesInProgress(const QList<ImageObjectID> &imageObjectIDs)
{
    if (imageObjectIDs.isEmpty()) {
        return;
    }
    bool found = false;
    const bool saved = writeQuietly([&](Database &database) {
        SeriesKeys series;
        for (const ImageObjectID image : imageObjectIDs) {
            if (const auto parent = seriesOf(database, image)) {
                database.prepare("UPDATE DicomImage SET syncState = 3 WHERE pk = ?")
                    .bindAll(image.value)
                    .run();
                series.insert(*parent);
            }
        }
        rollUpSeriesAndStudies(database, series);
        found = !series.empty();
    });
    if (saved && found) {
        postLocalSyncStateChanged();
    }
}

std::int64_t DicomDB::recordUploadResult(const QList<ImageObjectID> &imageObjectIDs,
                                         const std::optional<QString> &storagePath,
                                         bool synced)
{
    const QString path = storagePath.value_or(QString()).trimmed();
    if (imageObjectIDs.isEmpty() && path.isEmpty()) {
        return 0;
    }
    const int state = static_cast<int>(synced ? SyncState::synced : SyncState::failed);
    const auto uploadDate = synced ? std::optional(nowInMilliseconds()) : std::nullopt;
    std::int64_t updated = 0;
    const bool saved = writeQuietly([&](Database &database) {
        updated = 0;
        SeriesKeys series;
        if (!path.isEmpty()) {
            series = seriesOfPath(database, path);
            database.prepare("UPDATE DicomImage SET syncState = ?, uploadDate = ? WHERE pathString = ?")
                .bindAll(state, uploadDate, path)
                .run();
            updated = database.changes();
        } else {
            for (const ImageObjectID image : std::set(imageObjectIDs.begin(), imageObjectIDs.end())) {
                if (const auto parent = seriesOf(database, image)) {
                    database.prepare("UPDATE DicomImage SET syncState = ?, uploadDate = ? WHERE pk = ?")
                        .bindAll(state, uploadDate, image.value)
                        .run();
                    series.insert(*parent);
                    ++updated;
                }
            }
        }
        rollUpSeriesAndStudies(database, series);
    });
    if (!saved || updated < 1) {
        return 0;
    }
    postLocalSyncStateChanged();
    return updated;
}

RecoveryCounts DicomDB::recoverInProgressImages()
{
    RecoveryCounts counts;
    const bool saved = writeQuietly([&](Database &database) { counts = putAllBack(database); });
    if (!saved || !counts.saved) {
        return {};
    }
    postLocalSyncStateChanged();
    return counts;
}

std::int64_t DicomDB::resetInProgressImages(const QList<ImageObjectID> &imageObjectIDs)
{
    if (imageObjectIDs.isEmpty()) {
        return 0;
    }
    std::int64_t reset = 0;
    const bool saved = writeQuietly([&](Database &database) {
        reset = 0;
        SeriesKeys series;
        for (const ImageObjectID image : imageObjectIDs) {
            Statement row = database.prepare("SELECT series FROM DicomImage WHERE pk = ? AND syncState = 3");
            if (row.bindAll(image.value).step()) {
                series.insert(row.integer(0));
                row.reset();
                database.prepare(kPutBack).bindAll(image.value).run();
                ++reset;
            }
        }
        rollUpSeriesAndStudies(database, series);
    });
    return saved ? reset : 0;
}

} // namespace gateway::index
