#include "index/former_index.h"

#include "index/index_store.h"
#include "index/schema.h"
#include "platform/sqlite/database.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::index {

namespace {

using platform::Database;

class KeptIndex : public ::testing::Test
{
protected:
    QString index() const { return m_home.filePath(QStringLiteral("QuorinGateway.sqlite")); }
    QString copy() const { return index() + QStringLiteral(".former"); }

    // As version 2 of the program has left it.
    void putVersion2()
    {
        ASSERT_TRUE(QFile::copy(QStringLiteral(QUORIN_OLD_INDEXES "/version_2.sqlite"), index()));
        ASSERT_TRUE(QFile::setPermissions(index(), QFile::ReadOwner | QFile::WriteOwner));
    }

    static void put(const QString &path)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("cut");
    }

    static std::int64_t number(const QString &path, const char *sql)
    {
        return Database::open(path, Database::Access::readOnly).integer(sql);
    }

    static void expectVersion2(const QString &path, std::int64_t images)
    {
        EXPECT_EQ(number(path, "PRAGMA user_version"), 2);
        EXPECT_EQ(number(path, "SELECT count(*) FROM pragma_integrity_check WHERE integrity_check = 'ok'"),
                  1);
        EXPECT_EQ(number(path, "SELECT count(*) FROM DicomImage"), images);
    }

    std::int64_t imagesOfIndex() const { return number(index(), "SELECT count(*) FROM DicomImage"); }

    QStringList names() const
    {
        return QDir(m_home.path()).entryList({QStringLiteral("*.former*")}, QDir::AllEntries);
    }

private:
    QTemporaryDir m_home;
};

} // namespace

TEST_F(KeptIndex, HoldsWhatTheVersionBeforeHasLeft)
{
    putVersion2();
    const std::int64_t images = imagesOfIndex();
    ASSERT_GT(images, 0);

    const IndexStore store(index());

    EXPECT_EQ(store.former().path(), copy());
    EXPECT_EQ(store.former().problem(), QString());
    expectVersion2(copy(), images);
    EXPECT_EQ(number(index(), "PRAGMA user_version"), kSchemaVersion);
}

TEST_F(KeptIndex, HoldsWhatStoodInTheLogAlone)
{
    putVersion2();
    Database before = Database::open(index(), Database::Access::readWrite);
    before.useDurableWriteAheadLog();
    before.exec("INSERT INTO Study (studyInstanceUID) VALUES ('in the log')");

    const IndexStore store(index());

    EXPECT_EQ(number(copy(), "SELECT count(*) FROM Study WHERE studyInstanceUID = 'in the log'"), 1);
}

TEST_F(KeptIndex, IsNotMadeOfANewIndexOrOneOfThisVersion)
{
    EXPECT_EQ(IndexStore(index()).former().path(), std::nullopt);
    EXPECT_EQ(IndexStore(index()).former().path(), std::nullopt);
    EXPECT_EQ(names(), QStringList());
}

TEST_F(KeptIndex, StaysUntilAStartHasEndedInAnOrderlyWayAndGoesAtTheNext)
{
    putVersion2();
    EXPECT_TRUE(IndexStore(index()).former().path()) << "ends as by a kill";
    IndexStore(index()).former().noteOrderlyEnd();
    EXPECT_TRUE(QFile::exists(copy())) << "whoever goes back ends this version first";

    const IndexStore store(index());

    EXPECT_EQ(store.former().path(), std::nullopt);
    EXPECT_EQ(names(), QStringList());
}

TEST_F(KeptIndex, TakesTheIndexBackToTheVersionBefore)
{
    putVersion2();
    const std::int64_t images = imagesOfIndex();
    {
        IndexStore store(index());
        store.write([](Database &database) { database.exec("DELETE FROM DicomImage"); });
        store.former().noteOrderlyEnd();
    }

    ASSERT_TRUE(QFile::remove(index()));
    ASSERT_TRUE(QFile::rename(copy(), index()));

    expectVersion2(index(), images);
    EXPECT_TRUE(IndexStore(index()).former().path());
    EXPECT_TRUE(IndexStore(index()).former().path()) << "the mark was of the copy before";
}

TEST_F(KeptIndex, IsMadeAnewWhereAStartDiedOverIt)
{
    putVersion2();
    const std::int64_t images = imagesOfIndex();
    put(copy());
    put(copy() + QStringLiteral(".unfinished"));

    const IndexStore store(index());

    EXPECT_EQ(names(), QStringList(QFileInfo(copy()).fileName()));
    expectVersion2(copy(), images);
}

TEST_F(KeptIndex, IsDoneWithoutWhereItCannotBeMade)
{
    putVersion2();
    ASSERT_TRUE(QDir().mkpath(copy() + QStringLiteral(".unfinished/in the way")));

    const IndexStore store(index());

    EXPECT_EQ(number(index(), "PRAGMA user_version"), kSchemaVersion);
    EXPECT_EQ(store.former().path(), std::nullopt);
    EXPECT_EQ(store.former().problem(), QStringLiteral("unable to open database file"));
}

} // namespace gateway::index
