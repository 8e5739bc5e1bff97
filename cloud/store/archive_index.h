#pragma once

#include "cloud/dicom/summary.h"
#include "cloud/store/archive_query.h"
#include "platform/concurrency/mutex.h"
#include "platform/sqlite/database.h"

#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

namespace gateway::cloud {

/// A stored file and what it holds.
///
/// Thread: any; a value.
struct StoredInstance
{
    QString sopInstanceUid;
    QString sopClassUid;
    QString studyUid;
    QString seriesUid;
    QString transferSyntaxUid;
    QString file; ///< relative to the store's folder
    std::int64_t bytes = 0;
    std::int64_t timesStored = 0; ///< how often a sender brought it
};

/// A file in its place that is to become known.
///
/// Thread: any; a value.
struct NewInstance
{
    DicomSummary summary;
    QString file;
    std::int64_t bytes = 0;
};

/// What is wanted: a study, or of it one series, or of that one instance; all of the archive without a study.
///
/// Thread: any; a value.
struct InstanceScope
{
    std::optional<QString> studyUid;
    std::optional<QString> seriesUid;
    std::optional<QString> sopInstanceUid;
};

/// The one place of an instance: its UID alone may stand in several.
InstanceScope placeOf(const DicomSummary &summary);

/// Sums over the archive.
///
/// Thread: any; a value.
struct ArchiveTotals
{
    std::int64_t instances = 0;
    std::int64_t bytes = 0;
};

/// Which studies, series and instances are there, and in which files.
///
/// Owner: InstanceStore. Thread: any; calls take turns. Functions throw platform::SqliteError.
class ArchiveIndex
{
public:
    /// \param path     of the SQLite file; made where it is missing.
    /// \param durable  false gives up on surviving a power cut, for measuring without the disk.
    ArchiveIndex(const QString &path, bool durable);

    /// Makes the files known, all or none, durably. An instance that is known already in this
    /// study and series now stands in its new file.
    ///
    /// \return the files that nothing refers to any more.
    std::vector<QString> record(const std::vector<NewInstance> &instances) QUORIN_EXCLUDES(m_mutex);

    /// Forgets a scope. \return its files.
    std::vector<QString> remove(const InstanceScope &scope) QUORIN_EXCLUDES(m_mutex);

    /// The instances of a scope in the order in which they were first stored.
    std::vector<StoredInstance> instances(const InstanceScope &scope) const QUORIN_EXCLUDES(m_mutex);

    /// The rows that answer a query; each has one text a column of the query.
    std::vector<std::vector<QString>> query(const ArchiveQuery &query) const QUORIN_EXCLUDES(m_mutex);

    /// Every file that is referred to.
    std::set<QString> files() const QUORIN_EXCLUDES(m_mutex);

    ArchiveTotals totals() const QUORIN_EXCLUDES(m_mutex);

private:
    void createTables() QUORIN_REQUIRES(m_mutex);
    void recordOne(const NewInstance &instance, std::vector<QString> &unused) QUORIN_REQUIRES(m_mutex);
    void upsert(Level level, const NewInstance &instance) QUORIN_REQUIRES(m_mutex);
    void dropEmptyParents() QUORIN_REQUIRES(m_mutex);
    std::vector<StoredInstance> select(const InstanceScope &scope) const QUORIN_REQUIRES(m_mutex);

    mutable platform::Mutex m_mutex;
    mutable platform::Database m_database QUORIN_GUARDED_BY(m_mutex);
    ArchiveTotals m_totals QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::cloud
