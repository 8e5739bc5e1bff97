#pragma once

#include "platform/sqlite/sqlite_error.h"
#include "platform/values/typed_text.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <concepts>
#include <cstdint>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

namespace gateway::platform {

/// One prepared statement on loan from its Database; goes back to the database's cache when it dies.
///
/// Owner: the function that prepared it. Thread: the one that uses the Database; the Database outlives it.
/// Parameters and columns are numbered as SQLite does: parameters from 1, columns from 0. Every function
/// that talks to SQLite throws SqliteError.
class Statement
{
public:
    /// \param home  where the statement goes back to, unless another one stands there by then.
    Statement(sqlite3 *connection, sqlite3_stmt *statement, sqlite3_stmt **home);
    ~Statement();
    Statement(Statement &&other) noexcept;
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;
    Statement &operator=(Statement &&) = delete;

    Statement &bind(int parameter, std::int64_t value);
    Statement &bind(int parameter, double value);
    Statement &bind(int parameter, const QString &value);
    Statement &bind(int parameter, const QByteArray &value);
    Statement &bind(int parameter, std::nullptr_t);

    /// Integers and booleans of any width.
    template <std::integral T>
    Statement &bind(int parameter, T value)
    {
        return bind(parameter, static_cast<std::int64_t>(value));
    }

    template <typename Kind>
    Statement &bind(int parameter, const TypedText<Kind> &value)
    {
        return bind(parameter, value.value());
    }

    /// Nothing is bound as NULL.
    template <typename T>
    Statement &bind(int parameter, const std::optional<T> &value)
    {
        return value ? bind(parameter, *value) : bind(parameter, nullptr);
    }

    /// Binds the values to the parameters 1, 2, 3 ...
    template <typename... Values>
    Statement &bindAll(const Values &...values)
    {
        int parameter = 0;
        (bind(++parameter, values), ...);
        return *this;
    }

    /// Moves to the next row. \return false when there is none; the statement is then ready to be bound anew.
    bool step();

    /// Runs a statement that gives no rows, and makes it ready to be bound anew.
    void run();

    /// Makes the statement ready to be bound and run anew; bindings stay.
    void reset();

    int columnCount() const;
    bool isNull(int column) const;
    std::int64_t integer(int column) const;
    double real(int column) const;
    QString text(int column) const;
    QByteArray blob(int column) const;

private:
    void check(int code) const;

    sqlite3 *m_connection;
    sqlite3_stmt *m_statement;
    sqlite3_stmt **m_home;
};

} // namespace gateway::platform
