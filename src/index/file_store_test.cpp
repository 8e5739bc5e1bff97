#include "index/file_store.h"

#include "index/testing/store_world.h"

namespace gateway::index {

namespace {

using testing::TemporaryIndex;

using RunningNumber = testing::StoreWorld;
using StoredNames = testing::StoreWorld;
using StoreRoot = testing::StoreWorld;

} // namespace

TEST_F(RunningNumber, Number9999GoesToDirectory10000AndNumber10000To20000)
{
    placeInStore(QStringLiteral("10000/9998.dcm"));
    setNumber(9999);

    EXPECT_EQ(importAs(QStringLiteral("a.dcm")), QStringLiteral("10000/9999.dcm"));
    EXPECT_EQ(importAs(QStringLiteral("a.dcm")), QStringLiteral("20000/10000.dcm"));
    EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/20000/10000.dcm")));
}

TEST_F(RunningNumber, StandsUnderItsKeyAfterAnImport)
{
    importAs(QStringLiteral("a.dcm"));

    EXPECT_EQ(home.defaults.object(kNumberKey), QVariant::fromValue<qlonglong>(1));
}

TEST_F(RunningNumber, IsWrittenAtMostOnceASecondAndRisesAllTheSame)
{
    importAs(QStringLiteral("a.dcm"));
    importAs(QStringLiteral("a.dcm"));
    EXPECT_EQ(home.defaults.object(kNumberKey), QVariant::fromValue<qlonglong>(1));

    home.clock.advance(std::chrono::seconds(1));
    EXPECT_EQ(importAs(QStringLiteral("a.dcm")), QStringLiteral("10000/2.dcm"));
    EXPECT_EQ(home.defaults.object(kNumberKey), QVariant::fromValue<qlonglong>(3));
}

TEST_F(RunningNumber, ALostWriteOfTheCounterNeverLeadsToAnExistingFile)
{
    placeInStore(QStringLiteral("10000/7.dcm"));
    placeInStore(QStringLiteral("20000/10012.dcm"));
    placeInStore(QStringLiteral("20000/10003."));
    setNumber(3);

    EXPECT_EQ(importAs(QStringLiteral("a.dcm")), QStringLiteral("20000/10013.dcm"));
}

TEST_F(RunningNumber, AnEmptyHighestBucketStillRaisesIt)
{
    QDir().mkpath(home.fileStoreRoot() + QStringLiteral("/30000"));
    setNumber(3);

    EXPECT_EQ(importAs(QStringLiteral("a.dcm")), QStringLiteral("30000/20000.dcm"));
}

TEST_F(RunningNumber, ForeignNamesInTheStoreDontCount)
{
    placeInStore(QStringLiteral("10000/notes.txt"));
    placeInStore(QStringLiteral("10000/99999999999999999999.dcm"));
    placeInStore(QStringLiteral("123/5.dcm"));
    placeInStore(QStringLiteral("99999999999999990000/5.dcm"));
    setNumber(3);

    EXPECT_EQ(importAs(QStringLiteral("a.dcm")), QStringLiteral("10000/3.dcm"));
}

TEST_F(RunningNumber, TheIndexRemembersItWhereCounterAndFilesAreLost)
{
    importAs(QStringLiteral("a.dcm"));
    importAs(QStringLiteral("a.dcm"));
    QDir(home.fileStoreRoot() + QStringLiteral("/10000")).removeRecursively();
    QDir().mkpath(home.fileStoreRoot() + QStringLiteral("/10000"));
    setNumber(0);

    EXPECT_EQ(importAs(QStringLiteral("a.dcm")), QStringLiteral("10000/2.dcm"));
}

TEST_F(RunningNumber, AFileThatAppearsUnderTheNextNumberIsLeftAlone)
{
    placeInStore(QStringLiteral("10000/0.dcm"));

    EXPECT_EQ(importAs(QStringLiteral("a.dcm")), QStringLiteral("10000/1.dcm"));

    QFile file(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("an image"));
}

TEST_F(StoredNames, ASourceWithoutAnExtensionIsStoredUnderANameEndingInAPoint)
{
    EXPECT_EQ(importAs(QStringLiteral("IM0001")), QStringLiteral("10000/0."));
    EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/10000/0.")));
}

TEST_F(StoredNames, TheExtensionIsThatOfTheSource)
{
    EXPECT_EQ(importAs(QStringLiteral("scan.1.IMA")), QStringLiteral("10000/0.IMA"));
    EXPECT_EQ(importAs(QStringLiteral("1.2.840.113619")), QStringLiteral("10000/1.113619"));
    EXPECT_EQ(importAs(QStringLiteral(".hidden")), QStringLiteral("10000/2."));
}

TEST_F(StoredNames, AnExtensionThatWouldNotComeBackWholeFromTheIndexIsDropped)
{
    EXPECT_EQ(importAs(QStringLiteral("a.dcm ")), QStringLiteral("10000/0."));
    EXPECT_EQ(importAs(QStringLiteral("a.d\ncm")), QStringLiteral("10000/1."));
    EXPECT_EQ(importAs(QStringLiteral("a.") + QString(200, QLatin1Char('x'))), QStringLiteral("10000/2."));
}

TEST_F(StoredNames, APathOutsideTheRootIsKnownByItsLastComponent)
{
    FileStore store(home.path(QStringLiteral("s/")), home.defaults, home.clock, platform::systemFiles(), {});

    EXPECT_EQ(store.pathStringOf(home.path(QStringLiteral("s/10000/1.dcm"))), QStringLiteral("10000/1.dcm"));
    EXPECT_EQ(store.pathStringOf(home.path(QStringLiteral("s2/10000/1.dcm"))), QStringLiteral("1.dcm"));
    EXPECT_EQ(store.pathStringOf(QStringLiteral("/elsewhere/2.dcm")), QStringLiteral("2.dcm"));
}

TEST_F(StoreRoot, IsMadeWheneverItIsAskedFor)
{
    EXPECT_EQ(home.index().fileStoreRoot(), home.fileStoreRoot());
    EXPECT_TRUE(QDir(home.fileStoreRoot()).exists());
    QDir(home.fileStoreRoot()).removeRecursively();

    home.index().fileStoreRoot();

    EXPECT_TRUE(QDir(home.fileStoreRoot()).exists());
}

TEST_F(StoreRoot, PrivateCopiesOfACrashAreSweptAtOpening)
{
    placeInStore(QStringLiteral(".incoming/left-over.dcm"));

    home.reopen();

    EXPECT_TRUE(
        QDir(home.fileStoreRoot() + QStringLiteral("/.incoming")).isEmpty(QDir::Files | QDir::Hidden));
}

TEST_F(StoreRoot, AFileThatOnlyTriedAndOutlivedACrashIsSweptAtOpening)
{
    const QString image = importAs(QStringLiteral("a.dcm"));
    placeInStore(QStringLiteral("10000/.try-left-over"));

    home.reopen();

    EXPECT_EQ(QDir(home.fileStoreRoot() + QStringLiteral("/10000")).entryList(QDir::Files | QDir::Hidden),
              QStringList{QFileInfo(image).fileName()});
}

TEST_F(StoreRoot, BelongsToOneAtATime)
{
    const QString path = importAs(QStringLiteral("a.dcm"));
    platform::UserDefaults others(home.path(QStringLiteral("others.sqlite")));
    const auto openSecond = [&] {
        DicomDB second(
            {home.path(QStringLiteral("other/index.sqlite")), home.fileStoreRoot()},
            {others, home.parser, home.notifications, home.main, home.clock, platform::systemFiles()});
    };

    EXPECT_THROW(openSecond(), StoreInUseError);
    home.close();
    EXPECT_NO_THROW(openSecond());
    EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + QLatin1Char('/') + path));
}

TEST_F(StoreRoot, LocksAgainstOthersWithTheFirstFileWhereItWasOutOfReach)
{
    home.close();
    QDir(home.fileStoreRoot()).removeRecursively();
    QFile inTheWay(home.fileStoreRoot());
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    home.reopen();
    ASSERT_TRUE(inTheWay.remove());
    ASSERT_TRUE(QDir().mkpath(home.fileStoreRoot()));
    {
        const auto other = platform::HomeLock::tryLock(home.fileStoreRoot() + QStringLiteral("/.lock"));
        ASSERT_TRUE(other);
        EXPECT_THROW(importAs(QStringLiteral("a.dcm")), GatewayImportError);
    }

    EXPECT_EQ(importAs(QStringLiteral("b.dcm")), QStringLiteral("10000/0.dcm"));
}

TEST_F(StoreRoot, ThatWasEmptiedOnPurposeIsOneAgainWithItsFirstFolder)
{
    importAs(QStringLiteral("a.dcm"));
    home.close();
    QDir(home.fileStoreRoot()).removeRecursively();
    home.reopen();
    ASSERT_TRUE(home.index().isStoreOutOfSight());

    ASSERT_TRUE(QDir().mkpath(home.fileStoreRoot() + QStringLiteral("/10000")));

    EXPECT_EQ(importAs(QStringLiteral("b.dcm")), QStringLiteral("10000/1.dcm"));
}

TEST_F(StoreRoot, IsWritableWhereAFileCouldBeTakenInAndNothingOfTheTryStays)
{
    EXPECT_TRUE(home.index().examination().isStoreWritable());
    importAs(QStringLiteral("a.dcm"));
    EXPECT_TRUE(home.index().examination().isStoreWritable());
    const auto hidden = QDir::Files | QDir::Hidden;
    EXPECT_EQ(QDir(home.fileStoreRoot() + QStringLiteral("/10000")).entryList(hidden),
              QStringList{QStringLiteral("0.dcm")});

    const QString privateFolder = home.fileStoreRoot() + QStringLiteral("/.incoming");
    EXPECT_EQ(QDir(privateFolder).entryList(hidden), QStringList());
    ASSERT_TRUE(QDir().rmdir(privateFolder));
    QFile inTheWay(privateFolder);
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    EXPECT_FALSE(home.index().examination().isStoreWritable());
}

TEST_F(StoreRoot, IsNotWritableWhereItsNextFolderIsNone)
{
    ASSERT_TRUE(QDir().mkpath(home.fileStoreRoot()));
    QFile inTheWay(home.fileStoreRoot() + QStringLiteral("/10000"));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));

    EXPECT_FALSE(home.index().examination().isStoreWritable());
}

} // namespace gateway::index
