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
std::int64_t keyOf(const QString &instance)
{
    const QByteArray digest = QCryptographicHash::hash(instance.toUtf8(), QCryptographicHash::Sha256);
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

} // namespace

std::int64_t newSender()
{
    return static_cast<std::int64_t>(QRandomGenerator::system()->generate64() >> 1U) | 2; // neither 0 nor 1
}

SentBefore sentBefore(Database &database, const SentInstance &next, std::int64_t sender)
{
    Statement row =
        database.prepare("SELECT version, arrival, acknowledged FROM SentInstance WHERE instance = ?");
    if (!row.bindAll(keyOf(next.instance)).step()) {
        constexpr const char *kLacksSome =
            "SELECT lacksSentInstances <> 0 OR recordAgainFrom IS NOT NULL FROM Ledger";
        return database.integer(kLacksSome) != 0 ? SentBefore::unrecorded : SentBefore::nothing;
    }
    if (row.integer(0) == next.version) {
        return ofThisVersion(row.integer(1), sender);
    }
    if (next.acknowledged != 0 && next.acknowledged < row.integer(2)) {
        return SentBefore::laterVersion;
    }
    return row.integer(0) == 0 ? SentBefore::unknown : SentBefore::anotherVersion;
}

std::int64_t onlyVersionSent(Database &database, const QString &instance)
{
    Statement row = database.prepare("SELECT version FROM SentInstance WHERE instance = ?");
    return row.bindAll(keyOf(instance)).step() ? row.integer(0) : 0;
}

void noteSending(Database &database, const SentInstance &sent, std::int64_t sender)
{
    database
        .prepare("INSERT INTO SentInstance (instance, version, arrival) VALUES (?1, ?2, ?3) "
                 "ON CONFLICT (instance) DO UPDATE SET version = CASE WHEN version = ?2 THEN ?2 ELSE 0 END, "
                 "arrival = CASE WHEN arrival IN (?4, ?5) THEN arrival ELSE ?3 END")
        .bindAll(keyOf(sent.instance), sent.version, sender, kFailed, kStored)
        .run();
}

void noteStored(Database &database, const SentInstance &sent)
{
    database
        .prepare("UPDATE SentInstance SET arrival = CASE WHEN version = ?2 THEN ?3 ELSE arrival END, "
                 "acknowledged = max(acknowledged, ?4) "
                 "WHERE instance = ?1 AND ((version = ?2 AND arrival <> ?3) OR acknowledged < ?4)")
        .bindAll(keyOf(sent.instance), sent.version, kStored, sent.acknowledged)
        .run();
}

void noteFailed(Database &database, const SentInstance &sent)
{
    database
        .prepare("UPDATE SentInstance SET arrival = ?3 "
                 "WHERE instance = ?1 AND version = ?2 AND arrival NOT IN (?3, ?4)")
        .bindAll(keyOf(sent.instance), sent.version, kFailed, kStored)
        .run();
}

void noteVerified(Database &database, const SentInstance &seen)
{
    database
        .prepare(
            "INSERT INTO SentInstance (instance, version, arrival, acknowledged) VALUES (?1, ?2, ?3, ?4) "
            "ON CONFLICT (instance) DO UPDATE SET version = ?2, arrival = ?3, "
            "acknowledged = max(acknowledged, ?4)")
        .bindAll(keyOf(seen.instance), seen.version, kStored, seen.acknowledged)
        .run();
}

bool mayOtherVersionBeSent(Database &database, const SentInstance &sent)
{
    Statement row = database.prepare("SELECT 1 FROM SentInstance WHERE instance = ? AND version <> ?");
    return row.bindAll(keyOf(sent.instance), sent.version).step();
}

void noteUnknownHistory(Database &database, const QString &instance)
{
    if (!instance.isEmpty()) {
        database.prepare("INSERT OR IGNORE INTO SentInstance (instance, version) VALUES (?, 0)")
            .bindAll(keyOf(instance))
            .run();
    }
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
        noteUnknownHistory(database, row.text(0));
    }
}

} // namespace gateway::index
