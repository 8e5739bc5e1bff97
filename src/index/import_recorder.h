#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

#include <cstdint>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

/// Where a file came to lie in the file store.
struct StoredFile
{
    QString path;            ///< absolute
    QString pathString;      ///< relative to the store's root, as the rows keep it
    std::int64_t number = 0; ///< its running number
};

/// A file is recorded with at most this many rows (frames times series). A header that claims more counts as
/// one that claims nothing: the file still has its row and goes to the cloud whole.
inline constexpr std::int64_t kMaxRowsOfAFile = 100'000;

/// Writes or updates the Study, Series and DicomImage rows of one stored file and settles what changed with
/// them. Runs inside the caller's transaction.
///
/// \param elements  what the parser read from the file.
/// \param now       milliseconds since 1970, UTC.
/// \return the keys of the series written, in order. Throws SqliteError.
QStringList recordImport(platform::Database &database,
                         const QVariantMap &elements,
                         const StoredFile &file,
                         std::int64_t now);

} // namespace gateway::index
