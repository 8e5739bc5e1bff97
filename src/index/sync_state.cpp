#include "index/sync_state.h"

#include "platform/sqlite/database.h"

#include <optional>
#include <string_view>
#include <vector>

namespace gateway::index {

using platform::Database;
using platform::Statement;

namespace {

struct Parent
{
    std::int64_t key = 0;
    std::int64_t stored = 0; // an absent state reads as 0
    StateTally tally;
    std::int64_t emptySeries = 0;
    std::int64_t study = 0;
};

Parent parentAt(const Statement &row)
{
    return Parent{row.integer(0),
                  row.integer(1),
                  {row.integer(2), row.integer(3), row.integer(4), row.integer(5)},
                  row.integer(6),
                  row.integer(7)};
}

constexpr std::string_view kUnsettledSeries =
    "SELECT pk, syncState, imageCount, syncedCount, failedCount, inProgressCount, 0, study "
    "FROM Series INDEXED BY Series_unsettled WHERE unsettled = 1";
constexpr std::string_view kUnsettledStudies =
    "SELECT pk, syncState, imageCount, syncedCount, failedCount, inProgressCount, emptySeriesCount, pk "
    "FROM Study INDEXED BY Study_unsettled WHERE unsettled = 1";
constexpr std::string_view kOneSeries =
    "SELECT pk, syncState, imageCount, syncedCount, failedCount, inProgressCount, 0, study "
    "FROM Series WHERE pk = ?";
constexpr std::string_view kOneStudy =
    "SELECT pk, syncState, imageCount, syncedCount, failedCount, inProgressCount, emptySeriesCount, pk "
    "FROM Study WHERE pk = ?";
constexpr std::string_view kSettleSeries = "UPDATE Series SET syncState = ?, unsettled = ? WHERE pk = ?";
constexpr std::string_view kSettleStudy = "UPDATE Study SET syncState = ?, unsettled = ? WHERE pk = ?";

// Read to the end before anything is written: an update must not move rows under a running query.
std::vector<Parent> all(Database &database, std::string_view sql)
{
    std::vector<Parent> parents;
    Statement row = database.prepare(sql);
    while (row.step()) {
        parents.push_back(parentAt(row));
    }
    return parents;
}

std::optional<Parent> one(Database &database, std::string_view sql, std::int64_t key)
{
    Statement row = database.prepare(sql);
    row.bindAll(key);
    return row.step() ? std::optional(parentAt(row)) : std::nullopt;
}

bool settle(
    Database &database, std::string_view update, const Parent &parent, SyncState state, bool unsettled)
{
    database.prepare(update).bindAll(static_cast<int>(state), unsettled, parent.key).run();
    return parent.stored != static_cast<std::int64_t>(state);
}

SyncState stateOfSeriesOf(const Parent &study)
{
    const SyncState state = stateOf(study.tally);
    const bool heldBack = state == SyncState::synced && study.emptySeries > 0;
    return heldBack ? SyncState::notSynced : state;
}

} // namespace

SyncState stateOf(const StateTally &tally)
{
    if (tally.rows > 0 && tally.synced == tally.rows) {
        return SyncState::synced;
    }
    if (tally.inProgress > 0) {
        return SyncState::inProgress;
    }
    return tally.failed > 0 ? SyncState::failed : SyncState::notSynced;
}

void rollUpSeriesAndStudies(Database &database, const SeriesKeys &series)
{
    std::set<std::int64_t> studies;
    for (const std::int64_t key : series) {
        if (const auto found = one(database, kOneSeries, key)) {
            settle(database, kSettleSeries, *found, stateOf(found->tally), false);
            studies.insert(found->study);
        }
    }
    for (const std::int64_t key : studies) {
        if (const auto found = one(database, kOneStudy, key)) {
            // With an empty series the sweep may see the study otherwise: it stays noted for it.
            settle(database, kSettleStudy, *found, stateOf(found->tally), found->emptySeries > 0);
        }
    }
}

bool rollUpAllStates(Database &database)
{
    bool changed = false;
    for (const Parent &series : all(database, kUnsettledSeries)) {
        changed |= settle(database, kSettleSeries, series, stateOf(series.tally), false);
    }
    for (const Parent &study : all(database, kUnsettledStudies)) {
        changed |= settle(database, kSettleStudy, study, stateOfSeriesOf(study), false);
    }
    return changed;
}

bool hasUnsettledStates(Database &database)
{
    return database.integer(
               "SELECT EXISTS (SELECT 1 FROM Series INDEXED BY Series_unsettled WHERE unsettled = 1)"
               " OR EXISTS (SELECT 1 FROM Study INDEXED BY Study_unsettled WHERE unsettled = 1)") != 0;
}

} // namespace gateway::index
