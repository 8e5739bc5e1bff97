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

void noteSending(Database &database, const QStringList &instances)
{
    Statement note =
        database.prepare("INSERT INTO SentInstance (instance) VALUES (?) "
                         "ON CONFLICT (instance) DO UPDATE SET version = 0 WHERE version IS NULL");
    for (const QString &instance : instances) {
        note.bindAll(keyOf(instance)).run();
    }
}

void noteNotSent(Database &database, const QStringList &instances)
{
    Statement forget = database.prepare("DELETE FROM SentInstance WHERE instance = ? AND version IS NULL");
    for (const QString &instance : instances) {
        forget.bindAll(keyOf(instance)).run();
    }
}

void closeSending(Database &database)
{
    database.exec("UPDATE SentInstance SET version = 0 WHERE version IS NULL");
}

void noteSent(Database &database, const SentInstance &sent)
{
    database
        .prepare("INSERT INTO SentInstance (instance, version) VALUES (?1, ?2) "
                 "ON CONFLICT (instance) DO UPDATE SET version = "
                 "CASE WHEN ?3 OR version IS NULL OR version = ?2 THEN ?2 ELSE 0 END")
        .bindAll(keyOf(sent.instance), sent.version, sent.isVerified ? 1 : 0)
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

void noteSentBefore(Database &database)
{
    Statement row = database.prepare("SELECT DISTINCT originalSOPInstanceUID FROM DicomImage "
                                     "WHERE syncState IN (1, 2, 3) AND originalSOPInstanceUID IS NOT NULL");
    while (row.step()) {
        noteUnknownHistory(database, row.text(0));
    }
}

} // namespace gateway::index
