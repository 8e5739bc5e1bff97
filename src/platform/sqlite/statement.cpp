#include "platform/sqlite/statement.h"

#include <sqlite3.h>

#include <utility>

namespace gateway::platform {

Statement::Statement(sqlite3 *connection, sqlite3_stmt *statement, sqlite3_stmt **home)
    : m_connection(connection), m_statement(statement), m_home(home)
{
}

Statement::Statement(Statement &&other) noexcept
    : m_connection(other.m_connection), m_statement(std::exchange(other.m_statement, nullptr)),
      m_home(other.m_home)
{
}

Statement::~Statement()
{
    if (m_statement == nullptr) {
        return;
    }
    if (*m_home != nullptr) { // a second loan of the same text came back first
        sqlite3_finalize(m_statement);
        return;
    }
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
    *m_home = m_statement;
}

void Statement::check(int code) const
{
    if (code != SQLITE_OK) {
        throw SqliteError(QString::fromUtf8(sqlite3_errmsg(m_connection)),
                          sqlite3_extended_errcode(m_connection));
    }
}

Statement &Statement::bind(int parameter, std::int64_t value)
{
    check(sqlite3_bind_int64(m_statement, parameter, value));
    return *this;
}

Statement &Statement::bind(int parameter, double value)
{
    check(sqlite3_bind_double(m_statement, parameter, value));
    return *this;
}

Statement &Statement::bind(int parameter, const QString &value)
{
    const QByteArray utf8 = value.toUtf8();
    check(sqlite3_bind_text64(m_statement,
                              parameter,
                              utf8.constData(), // never null, so an empty text doesn't become NULL
                              static_cast<sqlite3_uint64>(utf8.size()),
                              SQLITE_TRANSIENT,
                              SQLITE_UTF8));
    return *this;
}

Statement &Statement::bind(int parameter, const QByteArray &value)
{
    check(sqlite3_bind_blob64(m_statement,
                              parameter,
                              value.constData(),
                              static_cast<sqlite3_uint64>(value.size()),
                              SQLITE_TRANSIENT));
    return *this;
}

Statement &Statement::bind(int parameter, std::nullptr_t)
{
    check(sqlite3_bind_null(m_statement, parameter));
    return *this;
}

bool Statement::step()
{
    const int code = sqlite3_step(m_statement);
    if (code == SQLITE_ROW) {
        return true;
    }
    if (code == SQLITE_DONE) {
        sqlite3_reset(m_statement);
        return false;
    }
    const QString message = QString::fromUtf8(sqlite3_errmsg(m_connection));
    const int extendedCode = sqlite3_extended_errcode(m_connection);
    sqlite3_reset(m_statement);
    throw SqliteError(message, extendedCode);
}

void Statement::run()
{
    while (step()) {
    }
}

void Statement::reset()
{
    sqlite3_reset(m_statement);
}

int Statement::columnCount() const
{
    return sqlite3_column_count(m_statement);
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

std::int64_t Statement::integer(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

double Statement::real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

QString Statement::text(int column) const
{
    const unsigned char *bytes = sqlite3_column_text(m_statement, column);
    const int size = sqlite3_column_bytes(m_statement, column);
    return QString::fromUtf8(reinterpret_cast<const char *>(bytes), size);
}

QByteArray Statement::blob(int column) const
{
    const void *bytes = sqlite3_column_blob(m_statement, column);
    const int size = sqlite3_column_bytes(m_statement, column);
    return QByteArray(static_cast<const char *>(bytes), size);
}

} // namespace gateway::platform
