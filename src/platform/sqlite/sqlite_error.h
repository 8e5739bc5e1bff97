#pragma once

#include <QtCore/QString>

#include <stdexcept>

namespace gateway::platform {

/// What SQLite had to say when a call of this room failed.
///
/// Thread: any; a value.
class SqliteError : public std::runtime_error
{
public:
    /// \param extendedCode  SQLite's extended result code.
    SqliteError(const QString &message, int extendedCode);

    const QString &message() const { return m_message; }

    /// SQLite's primary result code, such as SQLITE_BUSY.
    int code() const { return m_extendedCode & 0xff; }

    int extendedCode() const { return m_extendedCode; }

    /// True for trouble of the storage that may pass by itself: another holder of the lock, a full disk,
    /// a disk or share that doesn't answer, no memory. The same call may work later.
    bool maySucceedLater() const;

    /// True where the volume has no room for what was to be written. A quota counts as any other trouble:
    /// SQLite doesn't tell it apart.
    bool isFull() const;

    /// True where the file is damaged or is no database at all.
    bool saysDamaged() const;

private:
    QString m_message;
    int m_extendedCode;
};

} // namespace gateway::platform
