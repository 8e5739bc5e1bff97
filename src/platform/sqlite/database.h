#pragma once

#include "platform/sqlite/sqlite_error.h"
#include "platform/sqlite/statement.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_map>

struct sqlite3;

namespace gateway::platform {

/// One connection to an SQLite file, with a cache of its prepared statements.
///
/// Owner: whoever opens it. Thread: any, but one at a time: callers serialise, SQLite's own locks are off.
/// Foreign keys are enforced. Every function throws SqliteError.
class Database
{
public:
    enum class Access
    {
        readWrite, ///< made when it is missing; its folder must exist
        readOnly
    };

    /// \param busyTimeout  how long a call waits for another holder of the file's lock before it fails.
    static Database
    open(const QString &path, Access access, std::chrono::milliseconds busyTimeout = std::chrono::seconds(5));

    ~Database();
    Database(Database &&) noexcept;
    Database &operator=(Database &&) noexcept;
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    /// Write-ahead log with a sync at every commit: what is committed survives a power cut, and readers on
    /// other connections never wait for the writer.
    void useDurableWriteAheadLog();

    /// Whether commits to the write-ahead log wait for the disk from now on. One that doesn't survives a
    /// power cut once a later one that does has returned. Not inside a transaction.
    void syncCommits(bool doesSync);

    /// Writes all that is committed to a new file at `path`, with the settings that the file itself keeps.
    /// What it has written isn't on the disk before that file is synced.
    void copyTo(const QString &path);

    /// Runs statements without parameters or results, separated by semicolons.
    void exec(const std::string &sql);

    /// A statement for `sql`, from the cache where an idle one is there.
    Statement prepare(std::string_view sql);

    /// The first column of the first row of `sql` as an integer; 0 when there is no row.
    std::int64_t integer(std::string_view sql);

    /// Rows that the last INSERT, UPDATE or DELETE changed, triggers not counted.
    std::int64_t changes() const;

    /// False once SQLite has rolled the transaction back on its own account.
    bool inTransaction() const;

private:
    friend class StoppableScope;

    struct Closer
    {
        void operator()(sqlite3 *connection) const;
    };
    struct TextHash
    {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };
    // By statement text; null while the statement is on loan.
    using Cache = std::unordered_map<std::string, sqlite3_stmt *, TextHash, std::equal_to<>>;

    explicit Database(std::unique_ptr<sqlite3, Closer> connection);
    void dropCache();

    std::unique_ptr<sqlite3, Closer> m_connection;
    std::unique_ptr<Cache> m_cache;     // nodes stay where they are when the Database moves
    std::optional<bool> m_syncsCommits; // as last set
};

/// Lets a stop end what runs on a connection, with an SqliteError, for as long as this lives.
///
/// Owner: a function's scope. Thread: the Database's; the stop may be requested on any.
class StoppableScope
{
public:
    StoppableScope(Database &database, std::stop_token stop);
    ~StoppableScope();

    StoppableScope(const StoppableScope &) = delete;
    StoppableScope &operator=(const StoppableScope &) = delete;

private:
    sqlite3 *const m_connection;
    const std::stop_token m_stop;
    std::stop_callback<std::function<void()>> m_interrupt;
};

/// A transaction that is rolled back unless it was committed.
///
/// Owner: a function's scope. Thread: the Database's.
class Transaction
{
public:
    /// Takes the write lock at once, so that no later statement can fail for want of it.
    explicit Transaction(Database &database);
    ~Transaction();

    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    /// \throws SqliteError  when the commit failed; the transaction is then rolled back.
    void commit();

private:
    Database &m_database;
    bool m_open = true;
};

/// A part of a transaction that can be undone alone; undone unless it was kept.
///
/// Owner: a function's scope inside a Transaction; they don't nest. Thread: the Database's.
class Savepoint
{
public:
    explicit Savepoint(Database &database);
    ~Savepoint();

    Savepoint(const Savepoint &) = delete;
    Savepoint &operator=(const Savepoint &) = delete;

    void keep();

private:
    Database &m_database;
    bool m_open = true;
};

} // namespace gateway::platform
