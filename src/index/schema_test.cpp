#include "index/schema.h"

#include "index/index_store.h"
#include "platform/sqlite/database.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::index {

namespace {

using platform::Database;

class IndexFile : public ::testing::Test
{
protected:
    QString path() const { return m_home.filePath(QStringLiteral("index/QuorinGateway.sqlite")); }

    QByteArray content() const
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    void put(const QByteArray &bytes)
    {
        QDir().mkpath(QFileInfo(path()).path());
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    void execute(const char *sql)
    {
        QDir().mkpath(QFileInfo(path()).path());
        Database::open(path(), Database::Access::readWrite).exec(sql);
    }

    // Opening must fail with this sentence and leave every byte as it was.
    void expectRefusal(const QString &sentence)
    {
        const QByteArray before = content();
        try {
            IndexStore store(path());
            FAIL() << "opened";
        } catch (const IndexOpenError &error) {
            EXPECT_EQ(error.message().toStdString(), sentence.toStdString());
        }
        EXPECT_EQ(content(), before);
    }

private:
    QTemporaryDir m_home;
};

} // namespace

TEST_F(IndexFile, IsMadeWithItsFolderAndMarkedAsOurs)
{
    IndexStore store(path());

    Database database = Database::open(path(), Database::Access::readOnly);
    EXPECT_EQ(database.integer("PRAGMA user_version"), kSchemaVersion);
    EXPECT_EQ(database.integer("PRAGMA application_id"), 0x51474958);
    EXPECT_EQ(database.integer("PRAGMA foreign_key_check"), 0);
}

TEST_F(IndexFile, OpensAgainWithWhatItHeld)
{
    IndexStore(path()).write(
        [](Database &database) { database.exec("INSERT INTO Study (id) VALUES ('7')"); });

    IndexStore store(path());

    EXPECT_EQ(store.read([](Database &database) { return database.integer("SELECT id FROM Study"); }), 7);
}

TEST_F(IndexFile, AnEmptyFileBecomesAnIndex)
{
    put(QByteArray());

    IndexStore store(path());

    EXPECT_EQ(store.read([](Database &database) { return database.integer("SELECT count(*) FROM Study"); }),
              0);
}

TEST_F(IndexFile, AFileWhoseFirstRunDiedBeforeItsTablesBecomesAnIndex)
{
    execute("PRAGMA journal_mode = WAL");

    IndexStore store(path());

    EXPECT_EQ(store.read([](Database &database) { return database.integer("SELECT count(*) FROM Study"); }),
              0);
}

TEST_F(IndexFile, OfALaterVersionIsRefusedAndNotTouched)
{
    {
        IndexStore store(path());
    }
    execute("PRAGMA user_version = 2");

    expectRefusal(
        QStringLiteral("Failed loading persistent store: the file was written by a later version of "
                       "this program"));
}

TEST_F(IndexFile, OfAnotherProgramIsRefusedAndNotTouched)
{
    execute("CREATE TABLE theirs (a); PRAGMA application_id = 77");

    expectRefusal(QStringLiteral("Failed loading persistent store: the file belongs to another program"));
}

TEST_F(IndexFile, ThatIsNoDatabaseIsRefusedAndNotTouched)
{
    put(QByteArray(10000, 'x'));

    expectRefusal(QStringLiteral("Failed loading persistent store: file is not a database"));
}

TEST_F(IndexFile, ThatLostItsTablesIsRefusedAndNotTouched)
{
    {
        IndexStore store(path());
    }
    execute("DELETE FROM Ledger");

    expectRefusal(QStringLiteral("Failed loading persistent store: the file is damaged"));
}

TEST_F(IndexFile, ThatIsAFolderIsRefused)
{
    QDir().mkpath(path());

    EXPECT_THROW(IndexStore store(path()), IndexOpenError);
}

// A file in the field has exactly these tables. Who changes them writes version 2 and a migration.
TEST_F(IndexFile, TheTablesOfVersion1AreTheReleasedOnes)
{
    IndexStore store(path());

    const QString tables = store.read([](Database &database) {
        QString all;
        platform::Statement row =
            database.prepare("SELECT sql FROM sqlite_master WHERE sql IS NOT NULL ORDER BY name");
        while (row.step()) {
            all += row.text(0).simplified() + QLatin1Char('\n');
        }
        return all;
    });

    EXPECT_EQ(QCryptographicHash::hash(tables.toUtf8(), QCryptographicHash::Sha256).toHex().toStdString(),
              "e2241e2c8ad0332c85b253f830c8a86a7d8d125c2d16bb1f469b501d05543f99");
}

} // namespace gateway::index
