#pragma once

#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

/// Rows as others name them: by the UID that they hold, or, where there is none, by their address, the text
/// "x-coredata://<store>/<entity>/p<key>".
///
/// Thread: the Database's. Throws SqliteError.
class RowAddress
{
public:
    /// \param entity  "Study" or "Series".
    RowAddress(platform::Database &database, const QString &entity);

    QString of(std::int64_t key) const { return m_prefix + QString::number(key); }

    /// The key in `address`; nothing when that names another store or entity.
    std::optional<std::int64_t> keyIn(const QString &address) const;

private:
    QString m_prefix;
};

/// The study with this identity; nothing when there is none. Throws SqliteError.
std::optional<std::int64_t> findStudy(platform::Database &database, const QString &identity);

/// The series of `study` with this identity; nothing when there is none. Throws SqliteError.
std::optional<std::int64_t>
findSeries(platform::Database &database, std::int64_t study, const QString &identity);

} // namespace gateway::index
