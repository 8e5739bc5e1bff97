#pragma once

#include <QtCore/QString>

#include <optional>
#include <stdexcept>

namespace gateway::platform {
class Database;
class SqliteError;
} // namespace gateway::platform

namespace gateway::index {

/// The index file can't be used: unreadable, damaged, another program's, or written by a later version.
/// Its text is one sentence for the operator; the file is as it was.
class IndexOpenError : public std::runtime_error
{
public:
    /// \param reason  what is wrong, as the end of the sentence.
    explicit IndexOpenError(const QString &reason);

    explicit IndexOpenError(const platform::SqliteError &error);

    QString message() const { return QString::fromUtf8(what()); }

    /// True where its volume had no room for what opening it writes. Once that is undone there
    /// may be some again.
    bool isForLackOfRoom() const { return m_isForLackOfRoom; }

private:
    bool m_isForLackOfRoom = false;
};

/// The layout of the index file that this program writes; kept in the file as PRAGMA user_version.
inline constexpr int kSchemaVersion = 3;

/// Looks at the file at `path` through a read-only connection and throws IndexOpenError unless it is missing,
/// empty, or an index of this version or an older one. Changes nothing.
void checkIndexFile(const QString &path);

/// The size of the file at `path` in bytes when it is an index of an older version, of which opening it keeps
/// a copy before it brings it to this one; nothing for any other. Changes nothing, throws nothing.
std::optional<qint64> olderIndexBytes(const QString &path);

/// True for an index that `bringSchemaUpToDate` would bring to this version. Throws SqliteError.
bool isOfOlderVersion(platform::Database &database);

/// Makes the tables of a new file, or brings an older file to this version, in one transaction.
/// Throws SqliteError.
void bringSchemaUpToDate(platform::Database &database);

} // namespace gateway::index
