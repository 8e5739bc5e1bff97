#include "index/sent_instances.h"

#include "platform/sqlite/database.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QRandomGenerator>
#include <QtCore/QtEndian>

namespace gateway::index {

using platform::Database;
using platform::Statement;

namespace {

/// 64 bits keep five million instances small. Two that share them cost a look into the cloud, no image.
std::int64_t keyOf(const QString &text)
{
    const QByteArray digest = QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256);
    return qFromBigEndian<std::int64_t>(digest.constData());
}

// What `arrival` says of the one version that was sent; any other number is that of the sender which has it
// on its way.
constexpr std::int64_t kFailed = 0; // and was never answered as stored
constexpr std::int64_t kStored = 1;

SentBefore ofThisVersion(std::int64_t arrival, std::int64_t sender)
{
    if (arrival == kStored) {
        return SentBefore::thisVersion;
    }
    if (arrival == kFailed) {
        return SentBefore::thisVersionInVain;
    }
    return arrival == sender ? SentBefore::thisVersionOnItsWay : SentBefore::thisVersionBrokeOff;
}

/// Of what has no entry.
SentBefore withoutEntry(Database &database)
{
    constexpr const char *kLacksSome =
        "SELECT lacksSentInstances <> 0 OR recordAgainFrom IS NOT NULL FROM Ledger";
    return database.integer(kLacksSome) != 0 ? SentBefore::unrecorded : SentBefore::nothing;
}

/// When it was acknowledged, as far as that keeps what is older from the cloud.
std::int64_t timeThatCounts(const SentInstance &sent)
{
    return sent.isDamaged ? 0 : sent.acknowledged;
}

/// The number of a cloud that was noted; none of them where it wasn't.
std::int64_t numberOf(Database &database, const QString &cloud)
{
    constexpr std::int64_t kNone = -1;
    Statement row = database.prepare("SELECT pk FROM SentCloud WHERE name = ?");
    return row.bindAll(keyOf(cloud)).step() ? row.integer(0) : kNone;
}

std::int64_t noteCloud(Database &database, const QString &cloud)
{
    database.prepare("INSERT OR IGNORE INTO SentCloud (name) VALUES (?)").bindAll(keyOf(cloud)).run();
    return numberOf(database, cloud);
}

} // namespace

void noteQueryAnswered(Database &database, const QString &cloud)
{
    database.prepare("UPDATE SentCloud SET answersQueries = 1 WHERE pk = ?")
        .bindAll(noteCloud(database, cloud))
        .run();
}

bool isQueryAnswerNoted(Database &database, const QString &cloud)
{
    Statement row = database.prepare("SELECT 1 FROM SentCloud WHERE name = ? AND answersQueries <> 0");
    return row.bindAll(keyOf(cloud)).step();
}

std::int64_t newSender()
{
    return static_cast<std::int64_t>(QRandomGenerator::system()->generate64() >> 1U) | 2; // neither 0 nor 1
}

SentBefore sentBefore(Database &database, const SentInstance &next, std::int64_t sender)
{
    Statement row = database.prepare(
        "SELECT version, arrival, acknowledged, cloud, place FROM SentInstance WHERE instance = ?");
    if (!row.bindAll(keyOf(next.instance.value())).step()) {
        return withoutEntry(database);
    }
    if (row.integer(0) == next.version) {
        return row.integer(3) == numberOf(database, next.cloud) ? ofThisVersion(row.integer(1), sender)
                                                                : withoutEntry(database);
    }
    const bool isInItsPlace = row.integer(4) == keyOf(next.place);
    if (isInItsPlace && next.acknowledged != 0 && next.acknowledged < row.integer(2)) {
        return SentBefore::laterVersion;
    }
    return row.integer(0) == 0 ? SentBefore::unknown : SentBefore::anotherVersion;
}

std::int64_t onlyVersionSent(Database &database, const platform::InstanceUid &instance)
{
    Statement row = database.prepare("SELECT version FROM SentInstance WHERE instance = ?");
    return row.bindAll(keyOf(instance.value())).step() ? row.integer(0) : 0;
}

void noteSending(Database &database, const SentInstance &sent, std::int64_t sender)
{
    database
        .prepare(
            "INSERT INTO SentInstance (instance, version, arrival, cloud) "
            "VALUES (?1, ?2, ?3, ?6) "
            "ON CONFLICT (instance) DO UPDATE SET version = CASE WHEN version = ?2 THEN ?2 ELSE 0 END, "
            "arrival = CASE WHEN cloud = excluded.cloud AND arrival IN (?4, ?5) THEN arrival ELSE ?3 END, "
            "cloud = excluded.cloud")
        .bindAll(keyOf(sent.instance.value()),
                 sent.version,
                 sender,
                 kFailed,
                 kStored,
                 noteCloud(database, sent.cloud))
        .run();
    database.exec("UPDATE Ledger SET sendCount = sendCount + 1");
}

void noteStored(Database &database, const SentInstance &sent)
{
    database
        .prepare(
            "UPDATE SentInstance SET "
            "arrival = CASE WHEN version = ?2 AND cloud = ?6 THEN ?3 ELSE arrival END, "
            "place = CASE WHEN acknowledged < ?4 THEN ?5 ELSE place END, "
            "acknowledged = max(acknowledged, ?4) "
            "WHERE instance = ?1 AND ((version = ?2 AND cloud = ?6 AND arrival <> ?3) OR acknowledged < ?4)")
        .bindAll(keyOf(sent.instance.value()),
                 sent.version,
                 kStored,
                 timeThatCounts(sent),
                 keyOf(sent.place),
                 numberOf(database, sent.cloud))
        .run();
}

void noteFailed(Database &database, const SentInstance &sent)
{
    database
        .prepare("UPDATE SentInstance SET arrival = ?3 "
                 "WHERE instance = ?1 AND version = ?2 AND cloud = ?5 AND arrival NOT IN (?3, ?4)")
        .bindAll(keyOf(sent.instance.value()), sent.version, kFailed, kStored, numberOf(database, sent.cloud))
        .run();
}

void noteVerified(Database &database, const SentInstance &seen)
{
    database
        .prepare("INSERT INTO SentInstance (instance, version, arrival, acknowledged, place, cloud) "
                 "VALUES (?1, ?2, ?3, ?4, ?5, ?6) "
                 "ON CONFLICT (instance) DO UPDATE SET version = ?2, arrival = ?3, "
                 "place = CASE WHEN acknowledged < ?4 THEN ?5 ELSE place END, "
                 "acknowledged = max(acknowledged, ?4), cloud = excluded.cloud")
        .bindAll(keyOf(seen.instance.value()),
                 seen.version,
                 kStored,
                 timeThatCounts(seen),
                 keyOf(seen.place),
                 noteCloud(database, seen.cloud))
        .run();
}

bool mayOtherVersionBeSent(Database &database, const SentInstance &sent)
{
    Statement row = database.prepare("SELECT 1 FROM SentInstance WHERE instance = ? AND version <> ?");
    return row.bindAll(keyOf(sent.instance.value()), sent.version).step();
}

void noteUnknownHistory(Database &database, const platform::InstanceUid &instance)
{
    if (!instance.isEmpty()) {
        database.prepare("INSERT OR IGNORE INTO SentInstance (instance, version) VALUES (?, 0)")
            .bindAll(keyOf(instance.value()))
            .run();
    }
}

std::int64_t sendCount(Database &database)
{
    return database.integer("SELECT sendCount FROM Ledger");
}

void noteSendCount(Database &database, std::int64_t atLeast)
{
    database.prepare("UPDATE Ledger SET sendCount = ?1, lacksSentInstances = 1 WHERE sendCount < ?1")
        .bindAll(atLeast)
        .run();
}

bool lacksSentInstances(Database &database)
{
    return database.integer("SELECT lacksSentInstances FROM Ledger") != 0;
}

void noteUnrecordedSends(Database &database)
{
    database.exec("UPDATE Ledger SET lacksSentInstances = 1");
}

void noteSentBefore(Database &database)
{
    // Each file had a number of its own: fewer files than numbers, and some are gone.
    if (database.integer("SELECT nextFileNumber FROM Ledger") >
        database.integer("SELECT count(DISTINCT pathString) FROM DicomImage")) {
        noteUnrecordedSends(database);
    }
    Statement row = database.prepare("SELECT DISTINCT originalSOPInstanceUID FROM DicomImage "
                                     "WHERE syncState IN (1, 2, 3) AND originalSOPInstanceUID IS NOT NULL");
    while (row.step()) {
        noteUnknownHistory(database, platform::InstanceUid(row.text(0)));
    }
}

} // namespace gateway::index
