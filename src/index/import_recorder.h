#pragma once

#include "index/store_turn.h"

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

struct ParsedObject;

/// By which way a stored file came. The numbers are those of the index.
enum class FileOrigin
{
    network = 0,   ///< a modality was told that it is stored
    broughtIn = 1, ///< by a person: no modality was told anything
    unknown = 2    ///< found in the store without its rows, or recorded before this was kept
};

/// Where a file came to lie in the file store.
struct StoredFile
{
    QString path;            ///< absolute
    QString pathString;      ///< relative to the store's root, as the rows keep it
    std::int64_t number = 0; ///< its running number

    /// When its sender or a person was told that it is taken, in nanoseconds since 1970: the time of the
    /// file, which all of its names share.
    std::int64_t acknowledged = 0;

    FileOrigin origin = FileOrigin::unknown;

    /// What was read of its dataset when it was taken, as a SendableFile bears it; 0 where it wasn't read.
    std::int64_t contentVersion = 0;

    StoreTurn store = {}; ///< whose the names are
};

/// A file is recorded with at most this many rows (frames times series). A header that claims more counts as
/// one that claims nothing: the file still has its row and goes to the cloud whole.
inline constexpr std::int64_t kMaxRowsOfAFile = 100'000;

/// What became of a stored file.
struct Recorded
{
    QStringList seriesKeys; ///< of its series, in order
    bool isCurrent = true;  ///< its image's rows stand for it, not for another copy
    QSet<QString> replaced; ///< the files for which they stood until now
    QSet<QString> released; ///< files that are noted for their removal, perhaps this one
};

/// Writes or updates the Study, Series and DicomImage rows of one stored file and settles what changed with
/// them; where the rows of its image stand for a file that was acknowledged later, or for a whole one while
/// this one is damaged, they stay, and this file is noted beside them. Runs inside the caller's transaction.
///
/// \param now  milliseconds since 1970, UTC.
/// \throws SqliteError, FileError; ENOENT where another store has become that of the index since
Recorded recordImport(platform::Database &database,
                      const ParsedObject &object,
                      const StoredFile &stored,
                      std::int64_t now);

} // namespace gateway::index
