#pragma once

#include <cstdint>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

/// One of the stores that an index has had, one after another: a person may take another one for it. The name
/// of a file is that of a file of one of them, and leads to another image, or to none, in those after it. So
/// whoever keeps a name while others may write keeps this beside it, and compares them again in the
/// transaction that uses the name.
struct StoreTurn
{
    std::int64_t number = 0; ///< how many stores the index had before

    bool operator==(const StoreTurn &) const = default;
};

/// The store that the rows speak of. Runs inside the caller's transaction. \throws SqliteError. Thread: any.
StoreTurn storeTurn(platform::Database &database);

/// Another one takes its turn. As above.
void beginStoreTurn(platform::Database &database);

} // namespace gateway::index
