#include "platform/sqlite/database.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <latch>
#include <optional>
#include <stop_token>
#include <thread>

namespace gateway::platform {

namespace {

class SqliteRoom : public ::testing::Test
{
protected:
    QString path() const { return m_folder.filePath(QStringLiteral("test.sqlite")); }

    Database open(Database::Access access = Database::Access::readWrite)
    {
        return Database::open(path(), access, std::chrono::milliseconds(0));
    }

    QTemporaryDir m_folder;
};

/// How many of the files that this process has open have `part` in their paths.
qsizetype openFiles(const QString &part)
{
    qsizetype count = 0;
    QDirIterator descriptors(QStringLiteral("/proc/self/fd"), QDir::AllEntries | QDir::System);
    while (descriptors.hasNext()) {
        count += QFile::symLinkTarget(descriptors.next()).contains(part) ? 1 : 0;
    }
    return count;
}

using SqliteDatabase = SqliteRoom;
using SqliteTransaction = SqliteRoom;

} // namespace

TEST_F(SqliteDatabase, IsCopiedWithWhatStandsInItsLogAndWithItsSettings)
{
    Database db = open();
    db.useDurableWriteAheadLog();
    db.exec("CREATE TABLE t (a); PRAGMA user_version = 7; PRAGMA wal_checkpoint(TRUNCATE)");
    db.exec("INSERT INTO t VALUES (1), (2)");
    const QString copy = m_folder.filePath(QStringLiteral("copy.sqlite"));

    db.copyTo(copy);

    db.exec("DELETE FROM t");
    Database copied = Database::open(copy, Database::Access::readOnly);
    EXPECT_EQ(copied.integer("SELECT count(*) FROM t"), 2);
    EXPECT_EQ(copied.integer("PRAGMA user_version"), 7);
}

TEST_F(SqliteDatabase, IsNotCopiedWhereNoFileCanBeMade)
{
    Database db = open();
    db.exec("CREATE TABLE t (a)");

    EXPECT_THROW(db.copyTo(m_folder.filePath(QStringLiteral("missing/copy.sqlite"))), SqliteError);
}

TEST_F(SqliteDatabase, GivesBackEachTypeThatWasBound)
{
    Database db = open();
    db.exec("CREATE TABLE t (a, b, c, d, e, f)");
    const QString text = QStringLiteral("Müller^\u00c4nne");
    const QByteArray bytes("a\0b", 3);

    db.prepare("INSERT INTO t VALUES (?, ?, ?, ?, ?, ?)")
        .bindAll(std::int64_t{1} << 40, 2.5, text, bytes, std::optional<QString>(), QString())
        .run();

    Statement row = db.prepare("SELECT * FROM t");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.integer(0), std::int64_t{1} << 40);
    EXPECT_EQ(row.real(1), 2.5);
    EXPECT_EQ(row.text(2), text);
    EXPECT_EQ(row.blob(3), bytes);
    EXPECT_TRUE(row.isNull(4));
    EXPECT_FALSE(row.isNull(5)) << "an empty text is a text";
    EXPECT_FALSE(row.step());
}

TEST_F(SqliteDatabase, KeepsATextWithANulByteWhole)
{
    Database db = open();
    db.exec("CREATE TABLE t (a)");
    const QString text = QStringLiteral("a") + QChar(0) + QStringLiteral("b");

    db.prepare("INSERT INTO t VALUES (?)").bindAll(text).run();

    Statement row = db.prepare("SELECT a FROM t");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.text(0), text);
}

TEST_F(SqliteDatabase, LendsOneTextTwiceAtATime)
{
    Database db = open();
    db.exec("CREATE TABLE t (a); INSERT INTO t VALUES (1), (2)");

    Statement outer = db.prepare("SELECT a FROM t ORDER BY a");
    Statement inner = db.prepare("SELECT a FROM t ORDER BY a");

    ASSERT_TRUE(outer.step());
    ASSERT_TRUE(inner.step());
    ASSERT_TRUE(inner.step());
    EXPECT_EQ(outer.integer(0), 1);
    EXPECT_EQ(inner.integer(0), 2);
}

TEST_F(SqliteDatabase, LendsACachedStatementWithoutItsOldBindings)
{
    Database db = open();
    db.exec("CREATE TABLE t (a)");
    db.prepare("INSERT INTO t VALUES (?)").bindAll(7).run();

    db.prepare("INSERT INTO t VALUES (?)").run();

    EXPECT_EQ(db.integer("SELECT count(*) FROM t WHERE a IS NULL"), 1);
}

TEST_F(SqliteDatabase, ThrowsWithMessageAndCodeForABadStatement)
{
    Database db = open();

    try {
        db.prepare("SELECT a FROM nowhere");
        FAIL() << "prepared";
    } catch (const SqliteError &error) {
        EXPECT_EQ(error.code(), SQLITE_ERROR);
        EXPECT_EQ(error.message(), QStringLiteral("no such table: nowhere"));
        EXPECT_FALSE(error.maySucceedLater());
    }
}

TEST_F(SqliteDatabase, ThrowsForAViolatedConstraintAndWorksOn)
{
    Database db = open();
    db.exec("CREATE TABLE t (a UNIQUE); INSERT INTO t VALUES (1)");

    EXPECT_THROW(db.prepare("INSERT INTO t VALUES (?)").bindAll(1).run(), SqliteError);
    db.prepare("INSERT INTO t VALUES (?)").bindAll(2).run();

    EXPECT_EQ(db.integer("SELECT count(*) FROM t"), 2);
}

TEST_F(SqliteDatabase, EnforcesForeignKeys)
{
    Database db = open();
    db.exec("CREATE TABLE p (k INTEGER PRIMARY KEY); CREATE TABLE c (p REFERENCES p ON DELETE CASCADE);"
            "INSERT INTO p VALUES (1); INSERT INTO c VALUES (1); DELETE FROM p");

    EXPECT_EQ(db.integer("SELECT count(*) FROM c"), 0);
    EXPECT_THROW(db.exec("INSERT INTO c VALUES (9)"), SqliteError);
}

TEST_F(SqliteDatabase, ReadOnlyNeitherMakesNorChangesAFile)
{
    EXPECT_THROW(open(Database::Access::readOnly), SqliteError);
    EXPECT_FALSE(QFile::exists(path()));
    open().exec("CREATE TABLE t (a)");

    Database reader = open(Database::Access::readOnly);

    EXPECT_THROW(reader.exec("INSERT INTO t VALUES (1)"), SqliteError);
}

TEST_F(SqliteDatabase, ThrowsForAFileThatIsNoDatabase)
{
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(4096, 'x'));
    file.close();

    try {
        Database db = open();
        db.integer("PRAGMA user_version");
        FAIL() << "read";
    } catch (const SqliteError &error) {
        EXPECT_EQ(error.code(), SQLITE_NOTADB);
    }
}

TEST_F(SqliteDatabase, MovesWithItsStatements)
{
    Database first = open();
    first.exec("CREATE TABLE t (a)");
    first.prepare("INSERT INTO t VALUES (?)").bindAll(1).run();

    Database second = std::move(first);
    second.prepare("INSERT INTO t VALUES (?)").bindAll(2).run();

    EXPECT_EQ(second.integer("SELECT count(*) FROM t"), 2);
}

TEST_F(SqliteTransaction, NeedsNoTemporaryFileForWhatASavepointMayUndo)
{
    Database db = open();
    db.useDurableWriteAheadLog();
    db.exec("CREATE TABLE t (page BLOB)");
    db.exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 300) "
            "INSERT INTO t SELECT zeroblob(3000) FROM n");
    Transaction transaction(db);
    {
        const Savepoint undone(db);

        db.exec("UPDATE t SET page = randomblob(3000)"); // some 1.2 MB that may have to be undone

        EXPECT_EQ(openFiles(QStringLiteral("/etilqs_")), 0);     // SQLite's name for temporary files
        EXPECT_EQ(openFiles(QStringLiteral("/test.sqlite")), 3); // with its log and the log's index
    }
    EXPECT_EQ(db.integer("SELECT count(*) FROM t WHERE page = zeroblob(3000)"), 300);
}

TEST_F(SqliteTransaction, UndoesWhateverASavepointOrAStatementChanged)
{
    Database db = open();
    db.useDurableWriteAheadLog();
    db.exec("CREATE TABLE t (page BLOB)");
    db.exec("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
            "INSERT INTO t SELECT zeroblob(3000) FROM n");
    Transaction transaction(db);
    {
        const Savepoint undone(db);

        db.exec("UPDATE t SET page = randomblob(3000)"); // some 12 MB that may have to be undone
    }
    EXPECT_EQ(db.integer("SELECT count(*) FROM t WHERE page = zeroblob(3000)"), 3000);

    EXPECT_THROW(
        db.exec("UPDATE t SET page = CASE rowid WHEN 3000 THEN abs(-9223372036854775808) ELSE x'01' END"),
        SqliteError);
    EXPECT_EQ(db.integer("SELECT count(*) FROM t WHERE page = zeroblob(3000)"), 3000);
}

TEST_F(SqliteTransaction, IsUndoneUnlessCommitted)
{
    Database db = open();
    db.exec("CREATE TABLE t (a)");
    {
        Transaction transaction(db);
        db.exec("INSERT INTO t VALUES (1)");
    }
    EXPECT_EQ(db.integer("SELECT count(*) FROM t"), 0);

    Transaction transaction(db);
    db.exec("INSERT INTO t VALUES (1)");
    transaction.commit();

    EXPECT_FALSE(db.inTransaction());
    EXPECT_EQ(open().integer("SELECT count(*) FROM t"), 1);
}

TEST_F(SqliteTransaction, ASecondWriterIsToldThatTheFileIsBusy)
{
    Database first = open();
    first.useDurableWriteAheadLog();
    Database second = open();
    Transaction held(first);

    try {
        Transaction refused(second);
        FAIL() << "two writers";
    } catch (const SqliteError &error) {
        EXPECT_EQ(error.code(), SQLITE_BUSY);
        EXPECT_TRUE(error.maySucceedLater());
    }
}

TEST_F(SqliteTransaction, AReaderSeesTheLastCommitWhileAWriterWrites)
{
    Database writer = open();
    writer.useDurableWriteAheadLog();
    writer.exec("CREATE TABLE t (a); INSERT INTO t VALUES (1)");
    Database reader = open(Database::Access::readOnly);
    Transaction transaction(writer);
    writer.exec("INSERT INTO t VALUES (2)");

    EXPECT_EQ(reader.integer("SELECT count(*) FROM t"), 1);
    transaction.commit();
    EXPECT_EQ(reader.integer("SELECT count(*) FROM t"), 2);
}

TEST_F(SqliteTransaction, ASavepointIsUndoneAlone)
{
    Database db = open();
    db.exec("CREATE TABLE t (a)");

    Transaction transaction(db);
    {
        Savepoint kept(db);
        db.exec("INSERT INTO t VALUES (1)");
        kept.keep();
    }
    {
        Savepoint undone(db);
        db.exec("INSERT INTO t VALUES (2)");
    }
    transaction.commit();

    EXPECT_EQ(db.integer("SELECT count(*) FROM t"), 1);
    EXPECT_EQ(db.integer("SELECT a FROM t"), 1);
}

namespace {

constexpr const char *kEndless =
    "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n";

} // namespace

TEST_F(SqliteDatabase, EndsAnEndlessStatementWhenItIsToldToStop)
{
    Database db = open();
    std::stop_source stop;
    std::latch begun(1);
    const std::jthread other([&] {
        begun.wait();
        stop.request_stop();
    });

    const StoppableScope scope(db, stop.get_token());
    begun.count_down();

    EXPECT_THROW(db.integer(kEndless), SqliteError);
}

TEST_F(SqliteDatabase, BeginsNothingLongAfterAStopAndIsUsableOnceTheScopeIsOver)
{
    Database db = open();
    std::stop_source stop;
    stop.request_stop();
    {
        const StoppableScope scope(db, stop.get_token());
        EXPECT_THROW(db.integer(kEndless), SqliteError);
    }

    EXPECT_EQ(db.integer("WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
                         "SELECT count(*) FROM n"),
              100'000);
}

} // namespace gateway::platform
