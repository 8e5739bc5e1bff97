#include "platform/sqlite/database.h"

#include <sqlite3.h>

#include <utility>

namespace gateway::platform {

namespace {

SqliteError lastError(sqlite3 *connection)
{
    return {QString::fromUtf8(sqlite3_errmsg(connection)), sqlite3_extended_errcode(connection)};
}

/// SQLite's own start, once a process and before its first connection.
void startSqlite()
{
    // What undoes a statement or a savepoint is kept in memory, whatever it takes. An import changes more
    // than the 64 KiB beyond which it is kept in a temporary file by default, and each would make a file for
    // nothing. Another limit is no way out: SQLite 3.40 writes what it has kept up to there in one piece, of
    // whose size its file layer takes the lowest 17 bits, and then says that the disk is full.
    constexpr int kNeverInAFile = -1;
    [[maybe_unused]] static const int configured =
        sqlite3_config(SQLITE_CONFIG_STMTJRNL_SPILL, kNeverInAFile);
}

} // namespace

void Database::Closer::operator()(sqlite3 *connection) const
{
    sqlite3_close(connection);
}

Database Database::open(const QString &path, Access access, std::chrono::milliseconds busyTimeout)
{
    const int flags =
        (access == Access::readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) |
        SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    startSqlite();
    sqlite3 *raw = nullptr;
    const int code = sqlite3_open_v2(path.toUtf8().constData(), &raw, flags, nullptr);
    std::unique_ptr<sqlite3, Closer> connection(raw);
    if (code != SQLITE_OK) {
        const char *text = raw != nullptr ? sqlite3_errmsg(raw) : sqlite3_errstr(code);
        throw SqliteError(QString::fromUtf8(text), code);
    }
    sqlite3_busy_timeout(raw, static_cast<int>(busyTimeout.count()));
    Database database(std::move(connection));
    database.exec("PRAGMA foreign_keys = ON");
    return database;
}

Database::Database(std::unique_ptr<sqlite3, Closer> connection)
    : m_connection(std::move(connection)), m_cache(std::make_unique<Cache>())
{
}

Database::Database(Database &&) noexcept = default;

Database &Database::operator=(Database &&other) noexcept
{
    if (this != &other) {
        dropCache();
        m_connection = std::move(other.m_connection);
        m_cache = std::move(other.m_cache);
        m_syncsCommits = other.m_syncsCommits;
    }
    return *this;
}

Database::~Database()
{
    dropCache();
}

void Database::dropCache()
{
    if (m_cache) {
        for (const auto &[text, statement] : *m_cache) {
            sqlite3_finalize(statement);
        }
        m_cache->clear();
    }
}

void Database::useDurableWriteAheadLog()
{
    exec("PRAGMA journal_mode = WAL");
    syncCommits(true);
}

void Database::syncCommits(bool doesSync)
{
    if (m_syncsCommits != doesSync) {
        exec(doesSync ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
        m_syncsCommits = doesSync;
    }
}

void Database::copyTo(const QString &path)
{
    Database copy = open(path, Access::readWrite);
    copy.exec("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF"); // nobody relies on a part of it
    constexpr const char *kWhole = "main";
    sqlite3_backup *backup = sqlite3_backup_init(copy.m_connection.get(), kWhole, m_connection.get(), kWhole);
    if (backup == nullptr) {
        throw lastError(copy.m_connection.get());
    }
    constexpr int kAllPages = -1;
    const int code = sqlite3_backup_step(backup, kAllPages);
    sqlite3_backup_finish(backup);
    if (code != SQLITE_DONE) {
        throw SqliteError(QString::fromUtf8(sqlite3_errstr(code)), code);
    }
}

void Database::exec(const std::string &sql)
{
    if (sqlite3_exec(m_connection.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw lastError(m_connection.get());
    }
}

Statement Database::prepare(std::string_view sql)
{
    auto entry = m_cache->find(sql);
    if (entry == m_cache->end()) {
        entry = m_cache->emplace(sql, nullptr).first;
    }
    if (sqlite3_stmt *idle = std::exchange(entry->second, nullptr)) {
        return {m_connection.get(), idle, &entry->second};
    }
    sqlite3_stmt *statement = nullptr;
    const int code = sqlite3_prepare_v3(m_connection.get(),
                                        sql.data(),
                                        static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT,
                                        &statement,
                                        nullptr);
    if (code != SQLITE_OK) {
        throw lastError(m_connection.get());
    }
    return {m_connection.get(), statement, &entry->second};
}

std::int64_t Database::integer(std::string_view sql)
{
    Statement statement = prepare(sql);
    return statement.step() ? statement.integer(0) : 0;
}

std::int64_t Database::changes() const
{
    return sqlite3_changes64(m_connection.get());
}

bool Database::inTransaction() const
{
    return sqlite3_get_autocommit(m_connection.get()) == 0;
}

StoppableScope::StoppableScope(Database &database, std::stop_token stop)
    : m_connection(database.m_connection.get()), m_stop(std::move(stop)),
      m_interrupt(m_stop, [connection = m_connection] { sqlite3_interrupt(connection); })
{
    // The interrupt alone is lost on a statement that hasn't begun; this alone doesn't reach into the check
    // of a large table.
    constexpr int kSteps = 10'000;
    const auto isStopped = [](void *token) -> int {
        return static_cast<const std::stop_token *>(token)->stop_requested() ? 1 : 0;
    };
    sqlite3_progress_handler(m_connection, kSteps, isStopped, const_cast<std::stop_token *>(&m_stop));
}

StoppableScope::~StoppableScope()
{
    sqlite3_progress_handler(m_connection, 0, nullptr, nullptr);
}

Transaction::Transaction(Database &database) : m_database(database)
{
    m_database.prepare("BEGIN IMMEDIATE").run();
}

Transaction::~Transaction()
{
    if (m_open && m_database.inTransaction()) {
        try {
            m_database.prepare("ROLLBACK").run();
        } catch (const SqliteError &) {
            // A rollback that fails leaves the connection in a transaction; the next BEGIN reports it.
        }
    }
}

void Transaction::commit()
{
    m_database.prepare("COMMIT").run();
    m_open = false;
}

Savepoint::Savepoint(Database &database) : m_database(database)
{
    m_database.prepare("SAVEPOINT part").run();
}

Savepoint::~Savepoint()
{
    // SQLite may have rolled the whole transaction back already, as it does on a full disk.
    if (m_open && m_database.inTransaction()) {
        try {
            m_database.prepare("ROLLBACK TO part").run();
            m_database.prepare("RELEASE part").run();
        } catch (const SqliteError &) {
            // The transaction around this part notices at its commit.
        }
    }
}

void Savepoint::keep()
{
    m_database.prepare("RELEASE part").run();
    m_open = false;
}

} // namespace gateway::platform
