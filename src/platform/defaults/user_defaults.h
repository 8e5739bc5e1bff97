#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <memory>
#include <optional>

namespace gateway::platform {

/// The user's defaults: what the operator and the system keep between runs, one value a key.
///
/// Kept in one SQLite file, written through at once; safe from any thread and from several processes at
/// a time. Values are strings, integers, booleans, doubles, byte arrays and dates (UTC, milliseconds),
/// and come back with the type that they were stored with.
class UserDefaults
{
public:
    /// Opens or makes the file, with its folders.
    ///
    /// \throws DefaultsError  with one plain sentence, when the file can't be made, opened or isn't a
    ///                        defaults file. Nothing is overwritten then.
    explicit UserDefaults(const QString &path);
    ~UserDefaults();

    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;

    /// The value under `key`, or nothing when there is none or it can't be read.
    std::optional<QVariant> object(const QString &key) const;

    /// Stores `value` durably; an invalid QVariant removes the key.
    ///
    /// \return false when the value could not be written; it then stands as before.
    bool setObject(const QString &key, const QVariant &value);

    /// Removes the key; a missing key is no failure.
    void removeObject(const QString &key);

    /// All keys that have a value, ascending.
    QStringList keys() const;

private:
    struct Connection;
    std::unique_ptr<Connection> m_connection;
};

} // namespace gateway::platform
