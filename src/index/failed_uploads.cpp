#include "index/failed_uploads.h"

#include "index/file_store.h"
#include "index/index_store.h"
#include "index/row_identity.h"
#include "platform/concurrency/clock.h"
#include "platform/sqlite/database.h"

#include <algorithm>

namespace gateway::index {

using platform::Database;
using platform::SqliteError;
using platform::Statement;

namespace {

constexpr const char *kReleaseSome =
    "UPDATE DicomImage SET notBefore = 0 WHERE pk IN (SELECT pk FROM DicomImage INDEXED BY "
    "DicomImage_retrying WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' "
    "AND notBefore IS NOT NULL AND notBefore > 0 LIMIT ?)";

constexpr const char *kReleaseSomeOfStudy =
    "UPDATE DicomImage SET notBefore = 0 WHERE pk IN (SELECT DicomImage.pk FROM Series "
    "JOIN DicomImage ON DicomImage.series = Series.pk WHERE Series.study = ? "
    "AND (DicomImage.syncState IS NULL OR DicomImage.syncState IN (0, 2, 3)) AND pathString <> '' "
    "AND notBefore IS NOT NULL AND notBefore > 0 LIMIT ?)";

constexpr const char *kHeldFiles =
    "SELECT count(DISTINCT pathString), min(notBefore) FROM DicomImage INDEXED BY DicomImage_retrying "
    "WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NOT NULL "
    "AND notBefore > ?";

constexpr const char *kNextHeld =
    "SELECT notBefore FROM DicomImage INDEXED BY DicomImage_retrying "
    "WHERE (syncState IS NULL OR syncState IN (0, 2, 3)) AND pathString <> '' AND notBefore IS NOT NULL "
    "ORDER BY notBefore LIMIT 1";

constexpr const char *kNewestFirst =
    "SELECT failedAt, pathString, failureClass, failureCode FROM UploadFailure "
    "WHERE (failedAt, pathString) < (?, ?) ORDER BY failedAt DESC, pathString DESC LIMIT ?";

constexpr const char *kCounts =
    "SELECT failureClass, failureCode, count(*) AS files FROM UploadFailure "
    "GROUP BY failureClass, failureCode ORDER BY files DESC, failureClass, failureCode";

// A stored file holds one instance of one study: any of its rows tells both.
constexpr const char *kWhoseFile =
    "SELECT originalSOPInstanceUID, studyInstanceUID FROM DicomImage "
    "JOIN Series ON Series.pk = DicomImage.series JOIN Study ON Study.pk = Series.study "
    "WHERE DicomImage.pathString = ? LIMIT 1";

UploadFailure failureAt(Database &database, const Statement &row)
{
    UploadFailure failure;
    failure.failedAt = QDateTime::fromMSecsSinceEpoch(row.integer(0), Qt::UTC);
    failure.storagePath = row.text(1);
    failure.failureClass = row.text(2);
    failure.failureCode = row.integer(3);
    Statement image = database.prepare(kWhoseFile);
    if (image.bindAll(failure.storagePath).step()) {
        failure.sopInstanceUID = platform::InstanceUid(image.text(0));
        failure.studyInstanceUID = platform::StudyUid(image.text(1));
    }
    return failure;
}

QDateTime dateOf(std::int64_t milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
}

} // namespace

std::int64_t FailedUploads::nowInMilliseconds() const
{
    return m_clock.now().toMSecsSinceEpoch();
}

void FailedUploads::releaseRetries()
{
    releaseInParts(
        [](Database &database, int atOnce) { database.prepare(kReleaseSome).bindAll(atOnce).run(); });
}

void FailedUploads::releaseRetriesOf(const QString &identity)
{
    releaseInParts([&identity](Database &database, int atOnce) {
        const std::int64_t study = findStudy(database, identity).value_or(0); // no row has that key
        database.prepare(kReleaseSomeOfStudy).bindAll(study, atOnce).run();
    });
}

void FailedUploads::releaseInParts(const Release &release)
{
    constexpr int kAtOnce = 2000; // some 50 ms: importers wait no longer than for a sync
    std::int64_t released = 1;
    while (released > 0) {
        const bool saved = m_store.tryWrite([&](Database &database) {
            release(database, kAtOnce);
            released = database.changes();
        });
        if (!saved) {
            return;
        }
    }
}

WaitingRetries FailedUploads::waitingRetries() const
{
    WaitingRetries waiting;
    try {
        m_store.read([&](Database &database) {
            Statement row = database.prepare(kHeldFiles);
            row.bindAll(nowInMilliseconds());
            row.step();
            waiting.files = row.integer(0);
            if (waiting.files > 0) {
                waiting.next = dateOf(row.integer(1));
            }
        });
    } catch (const SqliteError &) {
        return {};
    }
    return waiting;
}

std::optional<QDateTime> FailedUploads::nextRetry() const
{
    try {
        return m_store.read([&](Database &database) {
            Statement row = database.prepare(kNextHeld);
            return row.step() ? std::optional(dateOf(row.integer(0))) : std::nullopt;
        });
    } catch (const SqliteError &) {
        return dateOf(nowInMilliseconds()); // some may wait: whoever asks comes again
    }
}

QList<UploadFailure> FailedUploads::next(int limit, UploadFailureCursor &cursor) const
{
    QList<UploadFailure> failures;
    try {
        m_store.read([&](Database &database) {
            Statement row = database.prepare(kNewestFirst);
            row.bindAll(cursor.failedAt, cursor.storagePath, std::max(1, limit));
            while (row.step()) {
                failures.append(failureAt(database, row));
                failures.last().fileURL = m_files.fileURL(failures.last().storagePath);
            }
        });
    } catch (const SqliteError &) {
        return {};
    }
    if (!failures.isEmpty()) {
        cursor = {failures.last().failedAt.toMSecsSinceEpoch(), failures.last().storagePath};
    }
    return failures;
}

QList<UploadFailureCount> FailedUploads::counts() const
{
    QList<UploadFailureCount> counts;
    try {
        m_store.read([&](Database &database) {
            Statement row = database.prepare(kCounts);
            while (row.step()) {
                counts.append({row.text(0), row.integer(1), row.integer(2)});
            }
        });
    } catch (const SqliteError &) {
        return {};
    }
    return counts;
}

} // namespace gateway::index
