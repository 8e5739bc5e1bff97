#include "platform/defaults/user_defaults.h"

#include "platform/concurrency/mutex.h"
#include "platform/files/files.h"
#include "platform/sqlite/database.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QUuid>

#include <cerrno>
#include <cmath>
#include <limits>
#include <utility>

namespace gateway::platform {

namespace {

// How a value's type is written down; the numbers stand in files and don't change.
enum class StoredType
{
    text = 1,
    integer = 2,
    boolean = 3,
    real = 4,
    bytes = 5,
    date = 6
};

constexpr std::int64_t kApplicationId = 0x55446566; // "UDef", tells our file from any other SQLite file
constexpr std::int64_t kVersion = 1;

constexpr std::string_view kSelect = "SELECT type, value FROM defaults WHERE key = ?";
constexpr std::string_view kStore =
    "INSERT INTO defaults(key, type, value) VALUES (?, ?, ?) "
    "ON CONFLICT(key) DO UPDATE SET type = excluded.type, value = excluded.value";

/// \return false when the value has no stored form.
bool bindInteger(Statement &statement, const QVariant &value)
{
    const bool tooLarge = value.typeId() == QMetaType::ULongLong &&
                          value.toULongLong() > std::numeric_limits<qulonglong>::max() / 2;
    if (!tooLarge) {
        statement.bind(2, static_cast<int>(StoredType::integer)).bind(3, value.toLongLong());
    }
    return !tooLarge;
}

/// Binds type and value to the parameters 2 and 3. \return false when the value has no stored form.
bool bindValue(Statement &statement, const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        statement.bind(2, static_cast<int>(StoredType::text)).bind(3, value.toString());
        return true;
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return bindInteger(statement, value);
    case QMetaType::Bool:
        statement.bind(2, static_cast<int>(StoredType::boolean)).bind(3, value.toBool());
        return true;
    case QMetaType::Float:
    case QMetaType::Double:
        statement.bind(2, static_cast<int>(StoredType::real)).bind(3, value.toDouble());
        return !std::isnan(value.toDouble()); // SQLite has no such number
    case QMetaType::QByteArray:
        statement.bind(2, static_cast<int>(StoredType::bytes)).bind(3, value.toByteArray());
        return true;
    case QMetaType::QDateTime:
        statement.bind(2, static_cast<int>(StoredType::date)).bind(3, value.toDateTime().toMSecsSinceEpoch());
        return value.toDateTime().isValid();
    default: // QMetaType::Type is open: whatever else a QVariant may hold has no stored form
        return false;
    }
}

std::optional<QVariant> valueOf(const Statement &row)
{
    switch (static_cast<StoredType>(row.integer(0))) {
    case StoredType::text:
        return row.text(1);
    case StoredType::integer:
        return static_cast<qlonglong>(row.integer(1));
    case StoredType::boolean:
        return row.integer(1) != 0;
    case StoredType::real:
        return row.real(1);
    case StoredType::bytes:
        return row.blob(1);
    case StoredType::date:
        return QDateTime::fromMSecsSinceEpoch(row.integer(1), Qt::UTC);
    }
    return std::nullopt;
}

std::optional<QVariant> read(Database &database, const QString &key)
{
    Statement statement = database.prepare(kSelect);
    statement.bind(1, key);
    return statement.step() ? valueOf(statement) : std::nullopt;
}

/// The value with a text of its own: what is kept here for all threads and what one of them holds share
/// nothing.
QVariant unshared(const QVariant &value)
{
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        return QString(text.constData(), text.size());
    }
    if (value.typeId() == QMetaType::QByteArray) {
        const QByteArray bytes = value.toByteArray();
        return QByteArray(bytes.constData(), bytes.size());
    }
    return value;
}

QHash<QString, QVariant> readAll(Database &database)
{
    QHash<QString, QVariant> values;
    Statement row = database.prepare("SELECT type, value, key FROM defaults");
    while (row.step()) {
        if (const std::optional<QVariant> value = valueOf(row)) {
            values.insert(row.text(2), *value);
        }
    }
    return values;
}

/// \return false when the value has no stored form.
bool write(Database &database, const QString &key, const QVariant &value)
{
    Statement statement = database.prepare(kStore);
    statement.bind(1, key);
    const bool bound = bindValue(statement, value);
    if (bound) {
        statement.run();
    }
    return bound;
}

QString sentence(const QString &path, const QString &rest)
{
    return QStringLiteral("The settings file \"%1\" %2.").arg(path, rest);
}

DefaultsError damageError(const QString &path)
{
    return DefaultsError(
        sentence(path, QStringLiteral("is damaged; move it away to start with fresh settings")));
}

DefaultsError openingError(const QString &path, const SqliteError &error)
{
    if (error.saysDamaged()) {
        return damageError(path);
    }
    return DefaultsError(sentence(path, QStringLiteral("can't be opened: ") + error.message()));
}

/// True for a file in which nothing was ever stored; throws for one that isn't ours. Writes nothing.
bool isNew(Database &database, const QString &path)
{
    const std::int64_t owner = database.integer("PRAGMA application_id");
    if (owner == 0 && database.integer("SELECT count(*) FROM sqlite_schema") == 0) {
        return true;
    }
    if (owner != kApplicationId) {
        throw DefaultsError(sentence(path, QStringLiteral("is not a settings file")));
    }
    if (database.integer("PRAGMA user_version") > kVersion) {
        throw DefaultsError(sentence(path, QStringLiteral("was written by a newer version of the program")));
    }
    Statement check = database.prepare("PRAGMA quick_check(1)");
    if (!check.step() || check.text(0) != QStringLiteral("ok")) {
        throw damageError(path);
    }
    return false;
}

void makeSchema(Database &database, const QString &path)
{
    Transaction transaction(database);
    if (isNew(database, path)) { // another process may have been faster
        database.exec("CREATE TABLE defaults(key TEXT PRIMARY KEY NOT NULL, type INTEGER NOT NULL, "
                      "value NOT NULL) WITHOUT ROWID");
        database.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
        database.exec("PRAGMA user_version = " + std::to_string(kVersion));
    }
    transaction.commit();
}

/// Removes a file that has served, or never came to be, with what SQLite keeps beside it.
class PartRemoval
{
public:
    explicit PartRemoval(QString path) : m_path(std::move(path)) {}
    ~PartRemoval()
    {
        for (const char *ending : {"", "-journal", "-wal", "-shm"}) {
            QFile::remove(m_path + QLatin1String(ending));
        }
    }
    PartRemoval(const PartRemoval &) = delete;
    PartRemoval &operator=(const PartRemoval &) = delete;

private:
    const QString m_path;
};

/// Makes a whole defaults file beside `path`, and then gives it its name.
///
/// A file that becomes one under its own name would turn other processes away that open it meanwhile: SQLite
/// doesn't wait for the change to a write-ahead log.
void makeFile(const QString &path)
{
    const QString folder = QFileInfo(path).absolutePath();
    const QString part = path + u'.' + QUuid::createUuid().toString(QUuid::Id128) + QStringLiteral(".new");
    makeFoldersDurably(folder);
    systemFiles().create(part, {}); // by us, so that it is its owner's alone from the first moment
    const PartRemoval removal(part);
    {
        Database database = Database::open(part, Database::Access::readWrite);
        makeSchema(database, part);
        database.useDurableWriteAheadLog();
    }
    try {
        copyForStore(part, path, CopyManner::mayLink);
    } catch (const FileError &error) {
        if (error.code() != EEXIST) { // another process may have been faster
            throw;
        }
    }
}

Database openFile(const QString &path, std::chrono::milliseconds busyTimeout)
{
    try {
        if (!QFileInfo::exists(path)) {
            makeFile(path);
        }
        Database database = Database::open(path, Database::Access::readWrite, busyTimeout);
        if (isNew(database, path)) {
            makeSchema(database, path);
        }
        database.useDurableWriteAheadLog();
        return database;
    } catch (const FileError &error) {
        throw DefaultsError(sentence(path, QStringLiteral("can't be made: ") + error.message()));
    } catch (const SqliteError &error) {
        throw openingError(path, error);
    }
}

} // namespace

struct UserDefaults::Connection
{
    explicit Connection(Database opened) : database(std::move(opened)), known(readAll(database)) {}

    Mutex mutex;
    Database database QUORIN_GUARDED_BY(mutex);

    // What was last read or written, for the time in which the file can't be read.
    QHash<QString, QVariant> known QUORIN_GUARDED_BY(mutex);

    void remember(const QString &key, const std::optional<QVariant> &value) QUORIN_REQUIRES(mutex)
    {
        if (value) {
            known.insert(key, unshared(*value));
        } else {
            known.remove(key);
        }
    }

    std::optional<QVariant> remembered(const QString &key) const QUORIN_REQUIRES(mutex)
    {
        const auto found = known.constFind(key);
        return found == known.constEnd() ? std::nullopt : std::optional(unshared(*found));
    }
};

UserDefaults::UserDefaults(const QString &path, std::chrono::milliseconds busyTimeout)
try : m_connection(std::make_unique<Connection>(openFile(path, busyTimeout))) {
} catch (const SqliteError &error) {
    throw openingError(path, error);
}

UserDefaults::~UserDefaults() = default;

std::optional<QVariant> UserDefaults::object(const QString &key) const
{
    const MutexLock lock(m_connection->mutex);
    try {
        std::optional<QVariant> value = read(m_connection->database, key);
        m_connection->remember(key, value);
        return value;
    } catch (const SqliteError &) {
        return m_connection->remembered(key);
    }
}

bool UserDefaults::setObject(const QString &key, const QVariant &value)
{
    if (!value.isValid()) {
        return removeObject(key);
    }
    const MutexLock lock(m_connection->mutex);
    try {
        const bool isWritten = write(m_connection->database, key, value);
        if (isWritten) {
            m_connection->remember(key, value);
        }
        return isWritten;
    } catch (const SqliteError &) {
        return false;
    }
}

QVariant UserDefaults::setObjectIfMissing(const QString &key, const QVariant &value)
{
    const MutexLock lock(m_connection->mutex);
    try {
        Transaction transaction(m_connection->database);
        const std::optional<QVariant> present = read(m_connection->database, key);
        if (present && *present != QVariant(QString())) {
            return *present;
        }
        if (write(m_connection->database, key, value)) {
            transaction.commit();
            m_connection->remember(key, value);
        }
    } catch (const SqliteError &) {
        const std::optional<QVariant> present = m_connection->remembered(key);
        if (present && *present != QVariant(QString())) {
            return *present;
        }
    }
    return value;
}

bool UserDefaults::removeObject(const QString &key)
{
    const MutexLock lock(m_connection->mutex);
    try {
        m_connection->database.prepare("DELETE FROM defaults WHERE key = ?").bind(1, key).run();
        m_connection->remember(key, std::nullopt);
        return true;
    } catch (const SqliteError &) {
        return false;
    }
}

QStringList UserDefaults::keys() const
{
    const MutexLock lock(m_connection->mutex);
    QStringList keys;
    try {
        Statement statement = m_connection->database.prepare("SELECT key FROM defaults ORDER BY key");
        while (statement.step()) {
            keys.append(statement.text(0));
        }
    } catch (const SqliteError &) {
        keys = m_connection->known.keys(); // half a list would pass for a whole one
        keys.sort();
    }
    return keys;
}

} // namespace gateway::platform
