#include "index/schema.h"

#include "index/index_store.h"
#include "index/schema_version_1.h"
#include "index/schema_version_2.h"
#include "platform/sqlite/database.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <string>

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

    // A file as an earlier version of the program has left it.
    void putStored(const QString &name)
    {
        QDir().mkpath(QFileInfo(path()).path());
        ASSERT_TRUE(QFile::copy(QStringLiteral(QUORIN_OLD_INDEXES "/") + name, path()));
        ASSERT_TRUE(QFile::setPermissions(path(), QFile::ReadOwner | QFile::WriteOwner));
    }

    QStringList texts(const char *sql) const
    {
        Database database = Database::open(path(), Database::Access::readOnly);
        QStringList result;
        platform::Statement row = database.prepare(sql);
        while (row.step()) {
            QStringList columns;
            for (int column = 0; column < row.columnCount(); ++column) {
                columns.append(row.text(column));
            }
            result.append(columns.join(QLatin1Char('|')).simplified());
        }
        return result;
    }

    QStringList tables() const
    {
        return texts("SELECT sql FROM sqlite_master WHERE sql IS NOT NULL ORDER BY name");
    }

    QStringList rowsOfVersion1() const
    {
        return texts("SELECT * FROM Ledger") + texts("SELECT * FROM Study") + texts("SELECT * FROM Series") +
               texts("SELECT * FROM DicomImage");
    }

    // Later versions add columns behind those that were there.
    void expectKept(const QStringList &before) const
    {
        const QStringList now = rowsOfVersion1();
        ASSERT_EQ(now.size(), before.size());
        for (qsizetype row = 0; row < before.size(); ++row) {
            EXPECT_TRUE((now[row] + u'|').startsWith(before[row] + u'|')) << now[row].toStdString();
        }
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
    execute(("PRAGMA user_version = " + std::to_string(kSchemaVersion + 1)).c_str());

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

TEST_F(IndexFile, OfVersion1IsBroughtForwardWithEveryRowItHeld)
{
    putStored(QStringLiteral("version_1.sqlite"));
    const QStringList before = rowsOfVersion1();
    ASSERT_EQ(before.size(), 13);
    EXPECT_GT(olderIndexBytes(path()).value_or(0), 0);

    IndexStore store(path());
    EXPECT_EQ(olderIndexBytes(path()), std::nullopt);

    Database database = Database::open(path(), Database::Access::readOnly);
    EXPECT_EQ(database.integer("PRAGMA user_version"), kSchemaVersion);
    expectKept(before);
    EXPECT_EQ(database.integer("SELECT count(*) FROM PendingRemoval"), 0);
    EXPECT_EQ(database.integer("SELECT count(*) FROM UploadFailure"), 0);
    EXPECT_EQ(texts("SELECT * FROM ActivityHour"), QStringList{QStringLiteral("490908|7|4")})
        << "the sums of what stood in Activity";
}

TEST_F(IndexFile, OfVersion1HasTheTablesOfANewOneOnceItIsBroughtForward)
{
    putStored(QStringLiteral("version_1.sqlite"));
    {
        IndexStore store(path());
    }
    const QStringList forwarded = tables();

    QFile::remove(path());
    IndexStore store(path());

    EXPECT_EQ(forwarded, tables());
}

TEST_F(IndexFile, OfVersion1StaysOneWhenTheMigrationFails)
{
    putStored(QStringLiteral("version_1.sqlite"));
    execute("CREATE TABLE UploadFailure (another INTEGER)");
    const QStringList before = rowsOfVersion1();

    EXPECT_THROW(IndexStore store(path()), IndexOpenError);

    Database database = Database::open(path(), Database::Access::readOnly);
    EXPECT_EQ(database.integer("PRAGMA user_version"), 1);
    EXPECT_EQ(database.integer("SELECT count(*) FROM sqlite_master WHERE name = 'PendingRemoval'"), 0);
    EXPECT_EQ(rowsOfVersion1(), before);
}

// A file in the field has exactly these tables. Who changes them writes the next version and a migration.
TEST_F(IndexFile, TheTablesOfVersion2AreTheReleasedOnes)
{
    execute((std::string(kSchemaVersion1) + kSchemaVersion2).c_str());

    const QByteArray all = tables().join(QLatin1Char('\n')).toUtf8();

    EXPECT_EQ(QCryptographicHash::hash(all, QCryptographicHash::Sha256).toHex().toStdString(),
              "8fdf2d4393894f59755ad45cacca32ab74222fbfe1b474dfffdb63aaecb517e5");
}

TEST_F(IndexFile, OfVersion2KeepsItsRowsAndHasItsHoursCountedAnew)
{
    putStored(QStringLiteral("version_2.sqlite"));
    const QStringList before = rowsOfVersion1();
    ASSERT_EQ(texts("SELECT * FROM ActivityHour"), QStringList{QStringLiteral("490908|14|8")})
        << "a repair has added them twice";

    IndexStore store(path());

    Database database = Database::open(path(), Database::Access::readOnly);
    EXPECT_EQ(database.integer("PRAGMA user_version"), kSchemaVersion);
    expectKept(before);
    EXPECT_EQ(texts("SELECT pathString FROM PendingRemoval"), QStringList{QStringLiteral("10000/99.dcm")});
    EXPECT_EQ(database.integer("SELECT count(*) FROM UploadFailure"), 1);
    EXPECT_EQ(texts("SELECT * FROM ActivityHour"), QStringList{QStringLiteral("490908|7|4")});
}

TEST_F(IndexFile, OfVersion2LacksAPartOfWhatWasSentOnceItHasLetGoOfFiles)
{
    const auto lacking = [this](int nextFileNumber) {
        QFile::remove(path());
        putStored(QStringLiteral("version_2.sqlite"));
        execute(("UPDATE Ledger SET nextFileNumber = " + std::to_string(nextFileNumber)).c_str());
        IndexStore store(path());
        return texts("SELECT lacksSentInstances FROM Ledger");
    };
    putStored(QStringLiteral("version_2.sqlite"));
    const int files = texts("SELECT count(DISTINCT pathString) FROM DicomImage").first().toInt();

    EXPECT_EQ(lacking(files), QStringList{QStringLiteral("0")});
    EXPECT_EQ(lacking(files + 1), QStringList{QStringLiteral("1")});
}

TEST_F(IndexFile, OfVersion2HasTheTablesOfANewOneOnceItIsBroughtForward)
{
    putStored(QStringLiteral("version_2.sqlite"));
    {
        IndexStore store(path());
    }
    const QStringList forwarded = tables();

    QFile::remove(path());
    IndexStore store(path());

    EXPECT_EQ(forwarded, tables());
}

} // namespace gateway::index
