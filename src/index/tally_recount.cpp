#include "index/tally_recount.h"

#include "index/sync_state.h"
#include "platform/sqlite/database.h"

#include <string>

namespace gateway::index {

using platform::Database;
using platform::Statement;

namespace {

// What the rows say, each as a table of its own.

constexpr const char *kSeriesByRows =
    "(SELECT Series.pk AS pk, count(DicomImage.pk) AS images, "
    "coalesce(sum(DicomImage.syncState IS 1), 0) AS synced, "
    "coalesce(sum(DicomImage.syncState IS 2), 0) AS failed, "
    "coalesce(sum(DicomImage.syncState IS 3), 0) AS inProgress "
    "FROM Series LEFT JOIN DicomImage ON DicomImage.series = Series.pk GROUP BY Series.pk)";

// Of the series' counts: whoever uses it has seen to those before.
constexpr const char *kStudyBySeries =
    "(SELECT Study.pk AS pk, count(Series.pk) AS series, coalesce(sum(Series.imageCount = 0), 0) AS empty, "
    "coalesce(sum(imageCount), 0) AS images, coalesce(sum(syncedCount), 0) AS synced, "
    "coalesce(sum(failedCount), 0) AS failed, coalesce(sum(inProgressCount), 0) AS inProgress "
    "FROM (SELECT pk FROM Study) AS Study LEFT JOIN "
    "(SELECT pk, study, imageCount, syncedCount, failedCount, inProgressCount FROM Series) AS Series "
    "ON Series.study = Study.pk GROUP BY Study.pk)";

constexpr const char *kActivityByRows =
    "SELECT slot, sum(received), sum(sent) FROM ("
    "SELECT createDate / 300000 AS slot, 1 AS received, 0 AS sent FROM DicomImage UNION ALL "
    "SELECT uploadDate / 300000, 0, 1 FROM DicomImage WHERE syncState = 1 AND uploadDate IS NOT NULL) "
    "GROUP BY slot";

constexpr const char *kActivityByHeart =
    "SELECT slot, received, sent FROM Activity WHERE received <> 0 OR sent <> 0";

constexpr const char *kHoursBySlots =
    "SELECT slot / 12, sum(received), sum(sent) FROM Activity GROUP BY slot / 12";

constexpr const char *kHoursByHeart =
    "SELECT hour, received, sent FROM ActivityHour WHERE received <> 0 OR sent <> 0";

// Joined with their table: true where it differs from them.
constexpr const char *kSeriesDiffers =
    "(Series.imageCount, Series.syncedCount, Series.failedCount, Series.inProgressCount) IS NOT "
    "(n.images, n.synced, n.failed, n.inProgress)";
constexpr const char *kStudyDiffers =
    "(Study.imageCount, Study.syncedCount, Study.failedCount, Study.inProgressCount, Study.seriesCount, "
    "Study.emptySeriesCount) IS NOT (n.images, n.synced, n.failed, n.inProgress, n.series, n.empty)";

// The ledger counts states as they are stored.
constexpr const char *kLedgerByRows =
    "(SELECT count(*) FROM Study), (SELECT count(*) FROM Study WHERE syncState = 1), "
    "(SELECT count(*) FROM Series), (SELECT count(*) FROM Series WHERE syncState = 1), "
    "(SELECT count(*) FROM DicomImage), (SELECT count(*) FROM DicomImage WHERE syncState = 1), "
    "(SELECT count(*) FROM DicomImage WHERE syncState = 2), "
    "(SELECT count(*) FROM Instance), (SELECT count(*) FROM Instance WHERE syncState = 1), "
    "(SELECT count(*) FROM Instance WHERE syncState = 2)";
constexpr const char *kLedger =
    "studyCount, syncedStudyCount, seriesCount, syncedSeriesCount, imageCount, syncedCount, failedCount, "
    "instanceCount, syncedInstanceCount, failedInstanceCount";

// Before a statement that uses the above.
constexpr const char *kWithInstances =
    "WITH Instance AS (SELECT syncState FROM DicomImage WHERE frameID IS 0 AND "
    "sopInstanceUID IS coalesce(originalSOPInstanceUID, '') || '0') ";

StateTally tallyAt(const Statement &row)
{
    return {row.integer(2), row.integer(3), row.integer(4), row.integer(5)};
}

/// Adds up a table whose rows are: wrong counts, settled state or NULL, the four counts, whether a series of
/// it is empty.
TallyDifferences differencesIn(Database &database, const std::string &sql)
{
    TallyDifferences found;
    Statement row = database.prepare(sql);
    while (row.step()) {
        found.counts += row.integer(0);
        SyncState state = stateOf(tallyAt(row));
        if (state == SyncState::synced && row.integer(6) != 0) {
            state = SyncState::notSynced; // an empty series holds its study back
        }
        found.states += !row.isNull(1) && row.integer(1) != static_cast<std::int64_t>(state) ? 1 : 0;
    }
    return found;
}

std::string seriesTable()
{
    return std::string("SELECT ") + kSeriesDiffers +
           ", CASE unsettled WHEN 0 THEN coalesce(syncState, 0) END, n.images, n.synced, n.failed, "
           "n.inProgress, 0 FROM Series JOIN " +
           kSeriesByRows + " AS n ON n.pk = Series.pk";
}

std::string studyTable()
{
    return std::string("SELECT ") + kStudyDiffers +
           ", CASE unsettled WHEN 0 THEN coalesce(syncState, 0) END, n.images, n.synced, n.failed, "
           "n.inProgress, n.empty FROM Study JOIN " +
           kStudyBySeries + " AS n ON n.pk = Study.pk";
}

/// How many values of the first column, the time, have other figures in one query than in the other.
std::int64_t wrongTimes(Database &database, const std::string &counted, const std::string &byHeart)
{
    return database.integer("WITH Every (time, received, sent) AS (" + counted +
                            "), Counted AS (SELECT * FROM Every WHERE received <> 0 OR sent <> 0), Known "
                            "(time, received, sent) AS (" +
                            byHeart +
                            ") SELECT count(DISTINCT time) FROM (SELECT * FROM (SELECT * FROM Counted EXCEPT "
                            "SELECT * FROM Known) "
                            "UNION ALL SELECT * FROM (SELECT * FROM Known EXCEPT SELECT * FROM Counted))");
}

} // namespace

TallyDifferences compareTallies(Database &database)
{
    const TallyDifferences series = differencesIn(database, seriesTable());
    const TallyDifferences studies = differencesIn(database, studyTable());
    const std::int64_t ledger =
        database.integer(std::string(kWithInstances) + "SELECT count(*) FROM Ledger WHERE (" + kLedger +
                         ") IS NOT (" + kLedgerByRows + ")");
    const std::int64_t times = wrongTimes(database, kActivityByRows, kActivityByHeart) +
                               wrongTimes(database, kHoursBySlots, kHoursByHeart);
    return {series.counts + studies.counts + ledger + times, series.states + studies.states};
}

void rebuildActivityHours(Database &database)
{
    database.exec("DELETE FROM ActivityHour");
    database.exec(std::string("INSERT INTO ActivityHour (hour, received, sent) ") + kHoursBySlots);
}

void rebuildTallies(Database &database)
{
    const auto run = [&](const std::string &sql) { database.prepare(sql).run(); };
    run(std::string(
            "UPDATE Series SET imageCount = n.images, syncedCount = n.synced, failedCount = n.failed, "
            "inProgressCount = n.inProgress FROM ") +
        kSeriesByRows + " AS n WHERE n.pk = Series.pk AND " + kSeriesDiffers);
    run(std::string(
            "UPDATE Study SET imageCount = n.images, syncedCount = n.synced, failedCount = n.failed, "
            "inProgressCount = n.inProgress, seriesCount = n.series, emptySeriesCount = n.empty FROM ") +
        kStudyBySeries + " AS n WHERE n.pk = Study.pk AND " + kStudyDiffers);
    run("UPDATE Series SET unsettled = 1");
    run("UPDATE Study SET unsettled = 1");
    rollUpAllStates(database);
    run("DELETE FROM Activity");
    run(std::string("INSERT INTO Activity (slot, received, sent) ") + kActivityByRows);
    // After the triggers have added to what was there.
    rebuildActivityHours(database);
    // Last: the triggers have moved it along with everything above.
    run(std::string(kWithInstances) + "UPDATE Ledger SET (" + kLedger + ") = (SELECT " + kLedgerByRows + ")");
}

} // namespace gateway::index
