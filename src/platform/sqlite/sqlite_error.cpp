#include "platform/sqlite/sqlite_error.h"

#include <sqlite3.h>

namespace gateway::platform {

SqliteError::SqliteError(const QString &message, int extendedCode)
    : std::runtime_error(message.toStdString()), m_message(message), m_extendedCode(extendedCode)
{
}

bool SqliteError::maySucceedLater() const
{
    switch (code()) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_FULL:
    case SQLITE_IOERR:
    case SQLITE_NOMEM:
    case SQLITE_CANTOPEN:
        return true;
    default:
        return false;
    }
}

bool SqliteError::isFull() const
{
    return code() == SQLITE_FULL;
}

bool SqliteError::saysDamaged() const
{
    return code() == SQLITE_NOTADB || code() == SQLITE_CORRUPT;
}

} // namespace gateway::platform
