#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>

namespace gateway::platform {

/// The defaults can't be used; the message is one plain sentence for the operator.
class DefaultsError : public std::runtime_error
{
public:
    explicit DefaultsError(const QString &message) : std::runtime_error(message.toStdString()) {}

    QString message() const { return QString::fromUtf8(what()); }
};

/// The user's defaults: what the operator and the system keep between runs, one value a key.
///
/// Thread: any, of several processes too. Kept in one SQLite file, written through at once. Values
/// are strings, integers (back as qlonglong), booleans, doubles, byte arrays and dates (UTC, milliseconds).
/// While the file can't be read, a value is what it was when it could: a bad moment changes no setting.
class UserDefaults
{
public:
    /// Opens or makes the file, with its folders, for its owner alone, and reads it whole.
    ///
    /// \param busyTimeout  how long a call waits for another process that writes before it fails.
    /// \throws DefaultsError  with one plain sentence, when the file can't be made, opened or read, or isn't
    ///                        a defaults file. Nothing is overwritten then.
    explicit UserDefaults(const QString &path,
                          std::chrono::milliseconds busyTimeout = std::chrono::seconds(5));
    ~UserDefaults();

    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;

    /// The value under `key`, or nothing when there is none.
    std::optional<QVariant> object(const QString &key) const;

    /// Stores `value` durably; an invalid QVariant removes the key.
    ///
    /// \return false when the value is of no type named above, not a number, or could not be written; the
    ///         old value then stands.
    bool setObject(const QString &key, const QVariant &value);

    /// Stores `value` durably unless the key has a value other than an empty string; one step for all
    /// threads and processes, so that they agree.
    ///
    /// \return the value that now stands; `value` itself where it could not be written.
    QVariant setObjectIfMissing(const QString &key, const QVariant &value);

    /// Removes the key; a missing key is no failure.
    ///
    /// \return false when it could not be written; the old value then stands.
    bool removeObject(const QString &key);

    /// All keys that have a value, ascending.
    QStringList keys() const;

private:
    struct Connection;
    std::unique_ptr<Connection> m_connection;
};

} // namespace gateway::platform
