#pragma once

#include <cstdint>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

/// How often what the index keeps as counts differs from what its rows say.
struct TallyDifferences
{
    std::int64_t counts = 0; ///< series, studies and five-minute slots with wrong counts, and the ledger
    std::int64_t states = 0; ///< series and studies whose state isn't that of their images

    bool operator==(const TallyDifferences &) const = default;
};

/// Counts every row and compares. Costs what is there. Throws SqliteError.
TallyDifferences compareTallies(platform::Database &database);

/// Counts every row and stores what comes out, states included. Runs inside the caller's transaction, which
/// other writers wait for. Throws SqliteError.
void rebuildTallies(platform::Database &database);

/// Adds the five-minute slots of the activity up to hours anew. Runs inside the caller's transaction. Throws
/// SqliteError.
void rebuildActivityHours(platform::Database &database);

} // namespace gateway::index
