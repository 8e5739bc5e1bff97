#pragma once

#include <cstdint>
#include <set>

namespace gateway::platform {
class Database;
}

namespace gateway::index {

/// The values of `syncState`, on images and, rolled up, on series and studies. An absent value counts as
/// `notSynced`.
enum class SyncState : std::int16_t
{
    notSynced = 0,
    synced = 1,
    failed = 2,
    inProgress = 3
};

/// How many rows of a set stand in which state; the rest isn't synced.
struct StateTally
{
    std::int64_t rows = 0;
    std::int64_t synced = 0;
    std::int64_t failed = 0;
    std::int64_t inProgress = 0;
};

/// The one state that stands for a set: synced when all rows are; else in progress when any is; else failed
/// when any is; else, and for no rows, not synced.
SyncState stateOf(const StateTally &tally);

/// Rows of Series, by their key.
using SeriesKeys = std::set<std::int64_t>;

/// Stores the state of each given series, and of their studies, each computed from its images. A series that
/// doesn't exist is passed over. Runs inside the caller's transaction. Throws SqliteError.
void rollUpSeriesAndStudies(platform::Database &database, const SeriesKeys &series);

/// The full sweep: brings every series and study whose images changed since their state was last stored up to
/// date. The state of a study is here that of its series, so that an empty series keeps it from being synced.
/// Costs what has changed, not what is there. Runs inside the caller's transaction. Throws SqliteError.
///
/// \return true when a stored state changed.
bool rollUpAllStates(platform::Database &database);

/// True when the sweep would look at any row. Throws SqliteError.
bool hasUnsettledStates(platform::Database &database);

} // namespace gateway::index
