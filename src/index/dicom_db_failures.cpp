// Why files that wait were not uploaded.

#include "index/dicom_db.h"
#include "platform/sqlite/database.h"

#include <algorithm>

namespace gateway::index {

using platform::Database;
using platform::SqliteError;
using platform::Statement;

namespace {

constexpr const char *kRecord =
    "INSERT INTO UploadFailure (pathString, failureClass, failureCode, failedAt) "
    "SELECT ?1, ?2, ?3, ?4 WHERE EXISTS (SELECT 1 FROM DicomImage WHERE pathString = ?1) "
    "ON CONFLICT (pathString) DO UPDATE SET failureClass = excluded.failureClass, "
    "failureCode = excluded.failureCode, failedAt = excluded.failedAt";

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
        failure.sopInstanceUID = image.text(0);
        failure.studyInstanceUID = image.text(1);
    }
    return failure;
}

} // namespace

bool DicomDB::recordUploadFailure(const QString &storagePath,
                                  const QString &failureClass,
                                  std::int64_t failureCode)
{
    const QString path = storagePath.trimmed();
    bool recorded = false;
    const bool saved = writeQuietly([&](Database &database) {
        database.prepare(kRecord).bindAll(path, failureClass, failureCode, nowInMilliseconds()).run();
        recorded = database.changes() > 0;
    });
    return saved && recorded;
}

void DicomDB::forgetUploadFailure(const QString &storagePath)
{
    const QString path = storagePath.trimmed();
    writeQuietly([&](Database &database) {
        database.prepare("DELETE FROM UploadFailure WHERE pathString = ?").bindAll(path).run();
    });
}

QList<UploadFailure> DicomDB::uploadFailures(int limit, UploadFailureCursor &cursor) const
{
    QList<UploadFailure> failures;
    try {
        m_store.read([&](Database &database) {
            Statement row = database.prepare(kNewestFirst);
            row.bindAll(cursor.failedAt, cursor.storagePath, std::max(1, limit));
            while (row.step()) {
                failures.append(failureAt(database, row));
                failures.last().fileURL = fileURL(failures.last().storagePath);
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

QList<UploadFailureCount> DicomDB::uploadFailureCounts() const
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
