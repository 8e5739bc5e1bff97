// Choosing what to upload, and moving rows through their states.

#include "index/dicom_db.h"
#include "index/kept_failures.h"
#include "index/stored_copies.h"
#include "platform/concurrency/clock.h"
#include "platform/sqlite/database.h"

#include <QtCore/QSet>

#include <algorithm>
#include <deque>
#include <functional>
#include <vector>

namespace gateway::index {

using platform::Database;
using platform::SqliteError;
using platform::Statement;

namespace {

constexpr const char *kNextWaiting =
    "SELECT pk, createDate, pathString FROM DicomImage INDEXED BY DicomImage_waiting "
    "WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NULL "
    "AND (createDate, pk) > (?, ?) ORDER BY createDate, pk";

constexpr const char *kNextRetrying =
    "SELECT pk, notBefore, pathString FROM DicomImage INDEXED BY DicomImage_retrying "
    "WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NOT NULL "
    "AND (notBefore, pk) > (?, ?) AND notBefore <= ? ORDER BY notBefore, pk";

// A clock that was set back must not hold files for as long as it went.
constexpr const char *kReleaseUnbelievable =
    "UPDATE DicomImage INDEXED BY DicomImage_retrying SET notBefore = ?1 "
    "WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NOT NULL "
    "AND notBefore > ?2";

constexpr const char *kRowsOfPath =
    "SELECT pk, createDate, notBefore, sopInstanceUID, originalSOPInstanceUID, acknowledged, damaged, "
    "contentVersion FROM DicomImage INDEXED BY DicomImage_path "
    "WHERE pathString = ? AND (syncState IS NULL OR syncState IN (0, 2, 3)) ORDER BY createDate, pk";

constexpr const char *kPutBack = "UPDATE DicomImage SET syncState = 0, uploadDate = NULL WHERE pk = ?";

template <typename Text>
QList<Text> ascending(const QSet<Text> &texts)
{
    QList<Text> list(texts.begin(), texts.end());
    std::ranges::sort(list, std::less<>());
    return list;
}

template <typename Text>
void addTrimmed(QSet<Text> &texts, const QString &text)
{
    const QString trimmed = text.trimmed();
    if (!trimmed.isEmpty()) {
        texts.insert(Text(trimmed));
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

/// The state in which an upload leaves rows.
struct EndState
{
    SyncState state = SyncState::failed;
    std::optional<std::int64_t> uploadDate;
};

/// Moves all rows that stand for the file. \return how many.
std::int64_t endFile(Database &database, const QString &path, const EndState &end)
{
    database.prepare("UPDATE DicomImage SET syncState = ?, uploadDate = ? WHERE pathString = ?")
        .bindAll(static_cast<int>(end.state), end.uploadDate, path)
        .run();
    const std::int64_t updated = database.changes();
    rollUpSeriesAndStudies(database, seriesOfPath(database, path));
    return updated;
}

/// Moves these rows. \return how many there were.
std::int64_t endRows(Database &database, const QList<ImageObjectID> &images, const EndState &end)
{
    std::int64_t updated = 0;
    SeriesKeys series;
    for (const ImageObjectID image : std::set(images.begin(), images.end())) {
        if (const auto parent = seriesOf(database, image)) {
            database.prepare("UPDATE DicomImage SET syncState = ?, uploadDate = ? WHERE pk = ?")
                .bindAll(static_cast<int>(end.state), end.uploadDate, image.value)
                .run();
            series.insert(*parent);
            ++updated;
        }
    }
    rollUpSeriesAndStudies(database, series);
    return updated;
}

/// Keeps what became of a version that was tried.
void noteEnd(Database &database, const SentInstance &tried, bool isSynced, bool isVerified)
{
    if (isVerified) {
        noteVerified(database, tried);
    } else if (isSynced) {
        noteStored(database, tried);
    } else {
        noteFailed(database, tried);
    }
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

bool saysAllThatANoteWould(SentBefore before)
{
    switch (before) {
    case SentBefore::thisVersion:
    case SentBefore::thisVersionOnItsWay:
    case SentBefore::thisVersionInVain:
    case SentBefore::unknown:
        return true;
    case SentBefore::nothing:
    case SentBefore::thisVersionBrokeOff:
    case SentBefore::anotherVersion:
    case SentBefore::laterVersion:
    case SentBefore::unrecorded:
        break;
    }
    return false;
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

QList<PendingImageUpload> DicomDB::pendingImageUploads(int limit)
{
    PendingCursor fromTheOldest;
    return pendingImageUploads(limit, fromTheOldest).value_or(QList<PendingImageUpload>());
}

std::optional<QList<PendingImageUpload>> DicomDB::pendingImageUploads(int limit, PendingCursor &cursor)
{
    // Of each page a part is kept for what failed before: neither kind starves the other.
    constexpr qsizetype kPartForRetries = 4;
    const qsizetype whole = std::max(1, limit);
    const qsizetype share = whole > 1 ? std::max<qsizetype>(1, whole / kPartForRetries) : 0;
    PendingCursor reached = cursor;
    QList<PendingImageUpload> candidates;
    if (m_files.isOutOfSight()) {
        return std::nullopt; // nothing is known of the files, be it for a moment: they are asked for again
    }
    try {
        m_store.read([&](Database &database) {
            appendCandidates(database, false, whole - share, reached.fresh, candidates);
            const qsizetype room = whole - candidates.size();
            appendCandidates(
                database, true, std::min(room, std::max<qsizetype>(1, share)), reached.retrying, candidates);
            appendCandidates(database, false, whole - candidates.size(), reached.fresh, candidates);
        });
    } catch (const SqliteError &) {
        return std::nullopt;
    }
    cursor = reached;
    return candidates;
}

void DicomDB::appendCandidates(Database &database,
                               bool isRetry,
                               qsizetype limit,
                               PendingPlace &place,
                               QList<PendingImageUpload> &candidates) const
{
    if (limit < 1) {
        return;
    }
    const PendingPlace start = place;
    const qsizetype full = candidates.size() + limit;
    QSet<QString> passed;
    Statement row = database.prepare(isRetry ? kNextRetrying : kNextWaiting);
    if (isRetry) {
        row.bindAll(start.date, start.row, nowInMilliseconds());
    } else {
        row.bindAll(start.date, start.row);
    }
    while (row.step()) {
        const QString stored = row.text(2);
        const QString path = stored.trimmed();
        if (!path.isEmpty() && !passed.contains(path)) {
            if (candidates.size() >= full) {
                return;
            }
            passed.insert(path);
            if (auto candidate = gather(database, stored, isRetry, start)) {
                candidates.append(*std::move(candidate));
            }
        }
        place = {row.integer(1), row.integer(0)};
    }
}

std::optional<PendingImageUpload>
DicomDB::gather(Database &database, const QString &storedPath, bool isRetry, const PendingPlace &start) const
{
    PendingImageUpload candidate;
    candidate.storagePath = storedPath.trimmed();
    candidate.fileURL = fileURL(candidate.storagePath);
    candidate.isRetry = isRetry;
    QSet<QString> keys;
    QSet<platform::InstanceUid> uids;
    Statement row = database.prepare(kRowsOfPath);
    row.bindAll(storedPath);
    while (row.step()) {
        if (PendingPlace{row.integer(isRetry ? 2 : 1), row.integer(0)} <= start) {
            return std::nullopt; // an earlier page has offered it
        }
        candidate.imageObjectIDs.append(ImageObjectID{row.integer(0)});
        addTrimmed(keys, row.text(3));
        addTrimmed(uids, row.text(4));
        candidate.acknowledged = row.integer(5); // the same in all rows of a file
        candidate.isDamaged = candidate.isDamaged || row.integer(6) != 0;
        candidate.contentVersion = row.integer(7);
    }
    candidate.store = storeTurn(database);
    if (isRetry) {
        const LastFailure last = lastFailureOf(database, candidate.storagePath);
        candidate.lastFailure = last.failureClass;
        candidate.tries = last.tries;
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
    const auto mark = [&](Database &database) {
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
    };
    const bool saved = m_store.tryWrite(mark, IndexStore::Durability::withTheNext);
    if (saved && found) {
        postLocalSyncStateChanged();
    }
}

SentBefore DicomDB::sentBefore(const SentInstance &next)
{
    try {
        return m_store.read([&](Database &database) { return index::sentBefore(database, next, m_sender); });
    } catch (const SqliteError &) {
        return SentBefore::unknown;
    }
}

void DicomDB::noteQueryAnswered(const QString &cloud)
{
    {
        const platform::MutexLock lock(m_refusalMutex);
        if (m_refusal && m_refusal->cloud == cloud) {
            m_refusal.reset();
        }
    }
    try {
        const bool isNoted =
            m_store.read([&](Database &database) { return isQueryAnswerNoted(database, cloud); });
        if (!isNoted) {
            m_store.tryWrite([&](Database &database) { index::noteQueryAnswered(database, cloud); });
        }
    } catch (const SqliteError &) {
        return; // the next answer is noted
    }
}

bool DicomDB::noteQueryRefused(const QString &cloud)
{
    constexpr std::chrono::hours kUntilBelieved{1}; // a service that starts, or a proxy's bad moment
    const platform::MutexLock lock(m_refusalMutex);
    const std::chrono::nanoseconds now = m_collaborators.clock.monotonic();
    if (!m_refusal || m_refusal->cloud != cloud) {
        m_refusal = QueryRefusal{cloud};
    }
    m_refusal->told += now - m_refusal->last.value_or(now);
    m_refusal->last = now;
    try {
        return m_refusal->told >= kUntilBelieved &&
               !m_store.read([&](Database &database) { return isQueryAnswerNoted(database, cloud); });
    } catch (const SqliteError &) {
        return false;
    }
}

void DicomDB::noteQueryFailed(const QString &cloud)
{
    const platform::MutexLock lock(m_refusalMutex);
    if (m_refusal && m_refusal->cloud == cloud) {
        m_refusal->last.reset();
    }
}

std::optional<QList<SentBefore>> DicomDB::noteSending(const QList<SentInstance> &instances)
{
    try {
        const auto before = m_store.read([&](Database &database) {
            QList<SentBefore> known;
            for (const SentInstance &sent : instances) {
                known.append(index::sentBefore(database, sent, m_sender));
            }
            return known;
        });
        // Of what is tried again nothing new is to be noted, and nobody waits for the disk.
        if (!std::ranges::all_of(before, saysAllThatANoteWould)) {
            std::int64_t count = 0;
            m_store.write([&](Database &database) {
                for (const SentInstance &sent : instances) {
                    index::noteSending(database, sent, m_sender);
                }
                count = index::sendCount(database);
            });
            m_sendCount.keep(count);
        }
        return before;
    } catch (const SqliteError &) {
        return std::nullopt;
    }
}

void DicomDB::noteTriedInVain(const QList<SentInstance> &instances)
{
    m_store.tryWrite([&](Database &database) { // where it fails, the result that is recorded says it
        for (const SentInstance &tried : instances) {
            noteFailed(database, tried);
        }
    });
}

std::optional<std::int64_t> DicomDB::recordUploadResult(const QList<ImageObjectID> &imageObjectIDs,
                                                        const std::optional<QString> &storagePath,
                                                        bool synced,
                                                        const UploadResultDetails &more)
{
    try {
        const StoreTurn store = m_store.read(storeTurn);
        return recordUploadResults({{imageObjectIDs, storagePath, synced, more, store}}).first();
    } catch (const SqliteError &) {
        return std::nullopt;
    }
}

/// What recording one result has done.
struct DicomDB::Recording
{
    QString path; // of the file that was sent; empty where it isn't known
    bool mayLetGo = false;
    std::int64_t updated = 0;
    QSet<QString> released = {};
};

QList<std::optional<std::int64_t>> DicomDB::recordUploadResults(const QList<UploadResult> &results)
{
    std::deque<Recording> recordings;
    std::vector<IndexStore::Wanted> changes;
    for (const UploadResult &result : results) {
        const QString path = result.storagePath.value_or(QString()).trimmed();
        // A file that is let go of doesn't come back: why it went must be durable before. And a failure that
        // were lost would leave its version as one that broke off, and may have arrived, where that isn't
        // noted yet.
        const bool mayLetGo = result.isSynced && hasOthersBeside(path);
        const bool mustLast = mayLetGo || (!result.isSynced && result.more.version);
        recordings.push_back({path, mayLetGo});
        changes.push_back({[this, &result, &recording = recordings.back()](Database &database) {
                               record(database, result, recording);
                           },
                           mustLast ? IndexStore::Durability::now : IndexStore::Durability::withTheNext});
    }
    const std::vector<bool> isSaved = m_store.tryWriteEach(changes);
    QList<std::optional<std::int64_t>> updated;
    for (std::size_t at = 0; at < isSaved.size(); ++at) {
        updated.append(isSaved[at] ? std::optional(recordings[at].updated) : std::nullopt);
        if (isSaved[at] && recordings[at].mayLetGo) {
            // One that came to stand beside it just now stays noted, and goes another time.
            removeReleased(recordings[at].released, RemovalReason::superseded);
            releaseSentBeside(recordings[at].path);
        }
    }
    if (std::ranges::any_of(updated, [](const auto &rows) { return rows.value_or(0) > 0; })) {
        postLocalSyncStateChanged();
    }
    return updated;
}

void DicomDB::record(Database &database, const UploadResult &result, Recording &recording) const
{
    const SyncState otherwise = result.more.isAwaited ? SyncState::notSynced : SyncState::failed;
    const EndState end{result.isSynced ? SyncState::synced : otherwise,
                       result.isSynced ? std::optional(nowInMilliseconds()) : std::nullopt};
    const QString &path = recording.path;
    if (result.more.version) {
        noteEnd(database, *result.more.version, result.isSynced, result.more.isVerified);
    }
    if (result.store != storeTurn(database)) {
        return; // what was sent was a file of another store
    }
    recording.updated = path.isEmpty() ? endRows(database, result.images, end) : endFile(database, path, end);
    recording.released = path.isEmpty() ? QSet<QString>() : releaseIfProven(database, path);
    if (result.more.failure) {
        keepFailure(database, path, *result.more.failure, nowInMilliseconds());
    }
}

void DicomDB::releaseSentCopies()
{
    releaseSentBeside({});
}

/// \param successor  the current copy; empty for all.
void DicomDB::releaseSentBeside(const QString &successor)
{
    try {
        const std::vector<OwedFile> sent = examination().owedFilesThatWereSent(successor);
        QSet<QString> released;
        const auto release = [&](Database &database) {
            released.clear();
            for (const OwedFile &file : sent) {
                noteAsSent(database, file);
                released += releaseIfProven(database, file.successor);
            }
        };
        if (!sent.empty() && m_store.tryWrite(release)) {
            removeReleased(released, RemovalReason::superseded);
        }
    } catch (const SqliteError &) {
        return; // they stay, and the doctor tells of them
    }
}

/// True where other copies of its image stand beside the file at `path`, and when that can't be told.
bool DicomDB::hasOthersBeside(const QString &path) const
{
    try {
        return m_store.read([&](Database &database) { return isSuccessor(database, path); });
    } catch (const SqliteError &) {
        return true;
    }
}

RecoveryCounts DicomDB::recoverInProgressImages()
{
    RecoveryCounts counts;
    const std::int64_t now = nowInMilliseconds();
    const bool saved = m_store.tryWrite([&](Database &database) {
        database.prepare(kReleaseUnbelievable)
            .bindAll(now, now + std::chrono::milliseconds(FailedUploads::kLongestWait).count())
            .run();
        counts = putAllBack(database);
    });
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
    const bool saved = m_store.tryWrite([&](Database &database) {
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

bool DicomDB::mayOtherVersionBeSent(const SentInstance &sent)
{
    bool may = true;
    try {
        m_store.read([&](Database &database) { may = index::mayOtherVersionBeSent(database, sent); });
    } catch (const SqliteError &) {
        return true;
    }
    return may;
}

} // namespace gateway::index
