#include "index/schema.h"

#include "index/schema_version_1.h"
#include "index/schema_version_2.h"
#include "index/schema_version_3.h"
#include "index/sent_instances.h"
#include "index/tally_recount.h"
#include "platform/sqlite/database.h"

#include <QtCore/QFileInfo>
#include <QtCore/QUuid>

#include <string>

namespace gateway::index {

using platform::Database;
using platform::SqliteError;

namespace {

// "QGIX": tells our file from every other program's.
constexpr std::int64_t kApplicationId = 0x51474958;

void check(Database &database)
{
    const std::int64_t application = database.integer("PRAGMA application_id");
    const std::int64_t version = database.integer("PRAGMA user_version");
    const bool unused =
        application == 0 && version == 0 && database.integer("SELECT count(*) FROM sqlite_master") == 0;
    if (unused) {
        return; // made by a run that died before its first transaction
    }
    if (application != kApplicationId) {
        throw IndexOpenError(QStringLiteral("the file belongs to another program"));
    }
    if (version > kSchemaVersion) {
        throw IndexOpenError(QStringLiteral("the file was written by a later version of this program"));
    }
    if (version < 1 || database.integer("SELECT count(*) FROM Ledger") != 1) {
        throw IndexOpenError(QStringLiteral("the file is damaged"));
    }
}

} // namespace

IndexOpenError::IndexOpenError(const QString &reason)
    : std::runtime_error((QStringLiteral("Failed loading persistent store: ") + reason).toStdString())
{
}

IndexOpenError::IndexOpenError(const SqliteError &error) : IndexOpenError(error.message())
{
    m_isForLackOfRoom = error.isFull();
}

void checkIndexFile(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists() || (file.isFile() && file.size() == 0)) {
        return;
    }
    try {
        Database database = Database::open(path, Database::Access::readOnly);
        check(database);
    } catch (const SqliteError &error) {
        throw IndexOpenError(error);
    }
}

std::optional<qint64> olderIndexBytes(const QString &path)
{
    const QFileInfo file(path);
    if (!file.isFile() || file.size() == 0) {
        return std::nullopt;
    }
    try {
        Database database = Database::open(path, Database::Access::readOnly);
        return isOfOlderVersion(database) ? std::optional(file.size()) : std::nullopt;
    } catch (const SqliteError &) {
        return std::nullopt; // opening it says why
    }
}

bool isOfOlderVersion(Database &database)
{
    const std::int64_t version = database.integer("PRAGMA user_version");
    return version >= 1 && version < kSchemaVersion;
}

void bringSchemaUpToDate(Database &database)
{
    // A start has no need of the write lock, which a backup or another program's reader may hold for long.
    if (database.integer("PRAGMA user_version") == kSchemaVersion) {
        return;
    }
    platform::Transaction transaction(database);
    const std::int64_t found = database.integer("PRAGMA user_version");
    if (found < 1) {
        database.exec(kSchemaVersion1);
        database.prepare("INSERT INTO Ledger (pk, storeIdentity) VALUES (1, ?)")
            .bindAll(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper())
            .run();
        database.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
    }
    if (found < 2) {
        database.exec(kSchemaVersion2);
    }
    if (found < 3) {
        database.exec(kQueueOfSchemaVersion3);
        database.exec(kCopiesOfSchemaVersion3);
        rebuildActivityHours(database); // a repair of earlier versions added them again
        if (found < 1) {
            // Files may lie in the store already, when an index was lost.
            database.exec("UPDATE Ledger SET recordAgainFrom = 0");
        }
        database.exec(kSentOfSchemaVersion3);
        database.exec(kCloudDeletionsOfSchemaVersion3);
        database.exec(kInstancesOfSchemaVersion3);
        noteSentBefore(database);
    }
    if (found < kSchemaVersion) {
        database.exec("PRAGMA user_version = " + std::to_string(kSchemaVersion));
    }
    transaction.commit();
}

} // namespace gateway::index
