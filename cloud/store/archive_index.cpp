#include "cloud/store/archive_index.h"

namespace gateway::cloud {

namespace {

using platform::Database;
using platform::Statement;
using platform::Transaction;

/// Of the index's layout.
constexpr int kVersion = 1;

/// The attributes that are columns of a level's table. A parent's UID is one of the child's columns, too.
std::vector<const Attribute *> columnsOf(Level level)
{
    std::vector<const Attribute *> columns;
    for (const Attribute &attribute : indexedAttributes()) {
        const bool own = attribute.level == level && !attribute.counted;
        const bool parent = (attribute.tag == kStudyInstanceUid && level != Level::study) ||
                            (attribute.tag == kSeriesInstanceUid && level == Level::instance);
        if (own || parent) {
            columns.push_back(&attribute);
        }
    }
    return columns;
}

const char *tableOf(Level level)
{
    switch (level) {
    case Level::study:
        return "studies";
    case Level::series:
        return "series";
    case Level::instance:
        return "instances";
    }
    return "";
}

const char *keyOf(Level level)
{
    switch (level) {
    case Level::study:
        return "StudyInstanceUID";
    case Level::series:
        return "StudyInstanceUID, SeriesInstanceUID";
    case Level::instance:
        return "StudyInstanceUID, SeriesInstanceUID, SOPInstanceUID";
    }
    return "";
}

std::string createTable(Level level)
{
    std::string sql = std::string("CREATE TABLE IF NOT EXISTS ") + tableOf(level) + " (";
    for (const Attribute *column : columnsOf(level)) {
        sql += std::string(column->keyword) + " TEXT, ";
    }
    if (level == Level::instance) {
        sql += "file TEXT NOT NULL, bytes INTEGER NOT NULL, timesStored INTEGER NOT NULL DEFAULT 1, ";
    }
    return sql + "PRIMARY KEY (" + keyOf(level) + "));";
}

std::string upsertSql(Level level)
{
    std::string names;
    std::string marks;
    std::string updates;
    for (const Attribute *column : columnsOf(level)) {
        const std::string name = column->keyword;
        names += (names.empty() ? "" : ", ") + name;
        marks += marks.empty() ? "?" : ", ?";
        updates += (updates.empty() ? "" : ", ") + name + " = COALESCE(excluded." + name + ", " + name + ")";
    }
    if (level == Level::instance) {
        names += ", file, bytes";
        marks += ", ?, ?";
        updates += ", file = excluded.file, bytes = excluded.bytes, timesStored = timesStored + 1";
    }
    return std::string("INSERT INTO ") + tableOf(level) + " (" + names + ") VALUES (" + marks +
           ") ON CONFLICT (" + keyOf(level) + ") DO UPDATE SET " + updates;
}

std::string whereOf(const InstanceScope &scope)
{
    std::string where = " WHERE 1";
    where += scope.studyUid ? " AND StudyInstanceUID = ?" : "";
    where += scope.seriesUid ? " AND SeriesInstanceUID = ?" : "";
    where += scope.sopInstanceUid ? " AND SOPInstanceUID = ?" : "";
    return where;
}

void bindScope(Statement &statement, const InstanceScope &scope)
{
    int parameter = 0;
    for (const auto *uid : {&scope.studyUid, &scope.seriesUid, &scope.sopInstanceUid}) {
        if (*uid) {
            statement.bind(++parameter, **uid);
        }
    }
}

} // namespace

InstanceScope placeOf(const DicomSummary &summary)
{
    return {
        summary.value(kStudyInstanceUid), summary.value(kSeriesInstanceUid), summary.value(kSopInstanceUid)};
}

ArchiveIndex::ArchiveIndex(const QString &path, bool durable)
    : m_database(Database::open(path, Database::Access::readWrite))
{
    const platform::MutexLock lock(m_mutex);
    m_database.useDurableWriteAheadLog();
    if (!durable) {
        m_database.exec("PRAGMA synchronous = OFF;");
    }
    createTables();
    m_totals = {m_database.integer("SELECT COUNT(*) FROM instances"),
                m_database.integer("SELECT COALESCE(SUM(bytes), 0) FROM instances")};
}

void ArchiveIndex::createTables()
{
    Transaction transaction(m_database);
    // An index of before had room for one place of an instance UID only.
    const bool isOld = m_database.integer("PRAGMA user_version") < kVersion &&
                       m_database.integer("SELECT COUNT(*) FROM sqlite_master WHERE name = 'instances'") == 1;
    if (isOld) {
        m_database.exec(
            "ALTER TABLE instances RENAME TO oldInstances; DROP INDEX IF EXISTS instancesBySeries;");
    }
    m_database.exec(createTable(Level::study) + createTable(Level::series) + createTable(Level::instance) +
                    "CREATE INDEX IF NOT EXISTS instancesBySeries"
                    " ON instances (StudyInstanceUID, SeriesInstanceUID);"
                    "CREATE INDEX IF NOT EXISTS instancesByUid ON instances (SOPInstanceUID);");
    if (isOld) {
        m_database.exec(
            "INSERT INTO instances SELECT * FROM oldInstances ORDER BY rowid; DROP TABLE oldInstances;");
    }
    m_database.exec("PRAGMA user_version = " + std::to_string(kVersion));
    transaction.commit();
}

std::vector<QString> ArchiveIndex::record(const std::vector<NewInstance> &instances)
{
    const platform::MutexLock lock(m_mutex);
    const ArchiveTotals before = m_totals;
    std::vector<QString> unused;
    try {
        Transaction transaction(m_database);
        for (const NewInstance &instance : instances) {
            recordOne(instance, unused);
        }
        transaction.commit();
    } catch (const platform::SqliteError &) {
        m_totals = before;
        throw;
    }
    return unused;
}

void ArchiveIndex::recordOne(const NewInstance &instance, std::vector<QString> &unused)
{
    const std::vector<StoredInstance> known = select(placeOf(instance.summary));
    upsert(Level::study, instance);
    upsert(Level::series, instance);
    upsert(Level::instance, instance);
    m_totals.bytes += instance.bytes;
    if (known.empty()) {
        ++m_totals.instances;
        return;
    }
    m_totals.bytes -= known.front().bytes;
    unused.push_back(known.front().file);
}

void ArchiveIndex::upsert(Level level, const NewInstance &instance)
{
    Statement statement = m_database.prepare(upsertSql(level));
    int parameter = 0;
    for (const Attribute *column : columnsOf(level)) {
        const QString value = instance.summary.value(column->tag);
        if (value.isEmpty()) {
            statement.bind(++parameter, nullptr);
        } else {
            statement.bind(++parameter, value);
        }
    }
    if (level == Level::instance) {
        statement.bind(++parameter, instance.file);
        statement.bind(++parameter, instance.bytes);
    }
    statement.run();
}

void ArchiveIndex::dropEmptyParents()
{
    m_database.exec("DELETE FROM series WHERE NOT EXISTS (SELECT 1 FROM instances i"
                    " WHERE i.StudyInstanceUID = series.StudyInstanceUID"
                    " AND i.SeriesInstanceUID = series.SeriesInstanceUID);"
                    "DELETE FROM studies WHERE NOT EXISTS (SELECT 1 FROM series e"
                    " WHERE e.StudyInstanceUID = studies.StudyInstanceUID);");
}

std::vector<QString> ArchiveIndex::remove(const InstanceScope &scope)
{
    const platform::MutexLock lock(m_mutex);
    std::vector<QString> files;
    std::int64_t bytes = 0;
    for (const StoredInstance &instance : select(scope)) {
        files.push_back(instance.file);
        bytes += instance.bytes;
    }
    Transaction transaction(m_database);
    {
        Statement statement = m_database.prepare("DELETE FROM instances" + whereOf(scope));
        bindScope(statement, scope);
        statement.run();
    }
    dropEmptyParents();
    transaction.commit();
    m_totals.instances -= static_cast<std::int64_t>(files.size());
    m_totals.bytes -= bytes;
    return files;
}

std::vector<StoredInstance> ArchiveIndex::instances(const InstanceScope &scope) const
{
    const platform::MutexLock lock(m_mutex);
    return select(scope);
}

std::vector<StoredInstance> ArchiveIndex::select(const InstanceScope &scope) const
{
    Statement statement =
        m_database.prepare("SELECT SOPInstanceUID, SOPClassUID, StudyInstanceUID, SeriesInstanceUID,"
                           " AvailableTransferSyntaxUID, file, bytes, timesStored FROM instances" +
                           whereOf(scope) + " ORDER BY rowid");
    bindScope(statement, scope);
    std::vector<StoredInstance> found;
    while (statement.step()) {
        found.push_back({statement.text(0),
                         statement.text(1),
                         statement.text(2),
                         statement.text(3),
                         statement.text(4),
                         statement.text(5),
                         statement.integer(6),
                         statement.integer(7)});
    }
    return found;
}

std::vector<std::vector<QString>> ArchiveIndex::query(const ArchiveQuery &query) const
{
    const platform::MutexLock lock(m_mutex);
    const QuerySql sql = sqlFor(query);
    Statement statement = m_database.prepare(sql.sql);
    for (qsizetype i = 0; i < sql.bindings.size(); ++i) {
        statement.bind(static_cast<int>(i) + 1, sql.bindings[i]);
    }
    const int next = static_cast<int>(sql.bindings.size()) + 1;
    statement.bind(next, query.limit).bind(next + 1, query.offset);
    std::vector<std::vector<QString>> rows;
    while (statement.step()) {
        std::vector<QString> row;
        row.reserve(query.columns.size());
        for (std::size_t column = 0; column < query.columns.size(); ++column) {
            row.push_back(statement.text(static_cast<int>(column)));
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::set<QString> ArchiveIndex::files() const
{
    const platform::MutexLock lock(m_mutex);
    Statement statement = m_database.prepare("SELECT file FROM instances");
    std::set<QString> files;
    while (statement.step()) {
        files.insert(statement.text(0));
    }
    return files;
}

ArchiveTotals ArchiveIndex::totals() const
{
    const platform::MutexLock lock(m_mutex);
    return m_totals;
}

} // namespace gateway::cloud
