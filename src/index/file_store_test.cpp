#include "index/file_store.h"

#include "index/testing/temporary_index.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <gtest/gtest.h>

namespace gateway::index {

namespace {

using testing::TemporaryIndex;

const QString kNumberKey = QStringLiteral("QuorinGateway.DataFileIndex");

class Files : public ::testing::Test
{
protected:
    QString importAs(const QString &name)
    {
        home.clock.advance(std::chrono::milliseconds(1));
        home.index().importFile(home.file(TemporaryIndex::image(QString::number(++m_images)), name));
        return home.rows(QStringLiteral("SELECT pathString FROM DicomImage ORDER BY pk DESC")).value(0);
    }

    void placeInStore(const QString &pathString)
    {
        const QString path = home.fileStoreRoot() + QLatin1Char('/') + pathString;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("an image");
    }

    void setNumber(qlonglong number)
    {
        home.close();
        home.defaults.setObject(kNumberKey, number);
        home.reopen();
    }

    TemporaryIndex home;

private:
    int m_images = 0;
};

using RunningNumber = Files;
using StoredNames = Files;
using StoreRoot = Files;

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
    FileStore store(home.path(QStringLiteral("s/")), home.defaults, home.clock, platform::systemFiles(), 0);

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

/// Where a volume is mounted, or isn't.
class MountPoint : public Files
{
protected:
    void unmount()
    {
        ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), away));
        ASSERT_TRUE(QDir().mkpath(home.fileStoreRoot()));
    }

    void mount()
    {
        ASSERT_TRUE(QDir(home.fileStoreRoot()).removeRecursively());
        ASSERT_TRUE(QDir().rename(away, home.fileStoreRoot()));
    }

    QStringList underneath() const
    {
        return QDir(home.fileStoreRoot()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    const QString away = home.path(QStringLiteral("away"));
};

TEST_F(MountPoint, TakesNothingInThatLacksItsVolumeAtTheStartAndGoesOnWhenThatIsBack)
{
    importAs(QStringLiteral("a.dcm"));
    home.close();
    unmount();
    home.reopen();

    EXPECT_TRUE(home.index().isStoreOutOfSight());
    EXPECT_THROW(importAs(QStringLiteral("b.dcm")), GatewayImportError);
    home.index().fileStoreRoot();
    EXPECT_EQ(underneath(), QStringList()) << "no store is made beside a known index";

    mount();
    EXPECT_FALSE(home.index().isStoreOutOfSight());
    EXPECT_EQ(importAs(QStringLiteral("b.dcm")), QStringLiteral("10000/1.dcm"));
    EXPECT_FALSE(platform::HomeLock::tryLock(home.fileStoreRoot() + QStringLiteral("/.lock")));
}

TEST_F(MountPoint, TakesNothingInThatLosesItsVolumeWhileItIsInUse)
{
    importAs(QStringLiteral("a.dcm"));
    unmount();

    EXPECT_THROW(importAs(QStringLiteral("b.dcm")), GatewayImportError);
    EXPECT_FALSE(home.index().examination().isStoreWritable());
    EXPECT_EQ(underneath(), QStringList());

    mount();
    EXPECT_EQ(importAs(QStringLiteral("b.dcm")), QStringLiteral("10000/1.dcm"));
}

TEST_F(MountPoint, IsKnownByTheIndexAloneToo)
{
    importAs(QStringLiteral("a.dcm"));
    home.close();
    unmount();
    home.defaults.setObject(kNumberKey, 0);
    home.reopen();

    EXPECT_TRUE(home.index().isStoreOutOfSight());
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
