#include "index/sent_instances.h"

#include "platform/sqlite/database.h"

#include <QtCore/QCryptographicHash>
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

} // namespace

SentBefore sentBefore(Database &database, const SentInstance &next)
{
    Statement row = database.prepare("SELECT version FROM SentInstance WHERE instance = ?");
    if (!row.bindAll(keyOf(next.instance)).step()) {
        constexpr const char *kLacksSome =
            "SELECT lacksSentInstances <> 0 OR recordAgainFrom IS NOT NULL FROM Ledger";
        return database.integer(kLacksSome) != 0 ? SentBefore::unrecorded : SentBefore::nothing;
    }
    if (row.integer(0) == next.version) {
        return SentBefore::thisVersion;
    }
    return row.integer(0) == 0 ? SentBefore::unknown : SentBefore::anotherVersion;
}

std::int64_t onlyVersionSent(Database &database, const QString &instance)
{
    Statement row = database.prepare("SELECT version FROM SentInstance WHERE instance = ?");
    return row.bindAll(keyOf(instance)).step() ? row.integer(0) : 0;
}

void noteSending(Database &database, const SentInstance &sent)
{
    database
        .prepare("INSERT INTO SentInstance (instance, version) VALUES (?1, ?2) "
                 "ON CONFLICT (instance) DO UPDATE SET version = CASE WHEN version = ?2 THEN ?2 ELSE 0 END")
        .bindAll(keyOf(sent.instance), sent.version)
        .run();
}

void noteVerified(Database &database, const SentInstance &seen)
{
    database.prepare("INSERT OR REPLACE INTO SentInstance (instance, version) VALUES (?, ?)")
        .bindAll(keyOf(seen.instance), seen.version)
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
