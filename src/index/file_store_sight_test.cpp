#include "index/file_store.h"

#include "index/testing/swapped_store.h"
#include "platform/dicom/testing/identities.h"

namespace gateway::index {

namespace {

using KnownStore = testing::StoreWorld;
using testing::MountPoint;
using testing::SwappedStore;

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
    PendingCursor fromTheOldest;
    EXPECT_FALSE(home.index().pendingImageUploads(1, fromTheOldest))
        << "what waits isn't known, but not nothing";

    mount();
    EXPECT_EQ(home.index().pendingImageUploads(1).size(), 1);
    EXPECT_EQ(importAs(QStringLiteral("b.dcm")), QStringLiteral("10000/1.dcm"));
}

TEST_F(MountPoint, IsNotMadeAnewWhereEvenItsRootIsAway)
{
    importAs(QStringLiteral("a.dcm"));
    ASSERT_TRUE(QDir().rename(home.fileStoreRoot(), away));

    EXPECT_THROW(importAs(QStringLiteral("b.dcm")), GatewayImportError);
    EXPECT_FALSE(QFile::exists(home.fileStoreRoot()));

    ASSERT_TRUE(QDir().rename(away, home.fileStoreRoot()));
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

TEST_F(SwappedStore, IsKnownByItsNumberAndLeftAloneUntilTheRightOneIsBack)
{
    importAs(QStringLiteral("a.dcm"));
    mountAnother(othersId);

    expectNothingHappens();
    EXPECT_FALSE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/.lock")));

    mount();
    EXPECT_FALSE(home.index().isStoreOutOfSight());
    EXPECT_EQ(home.index().pendingImageUploads(10).size(), 1);
    EXPECT_EQ(importAs(QStringLiteral("b.dcm")), QStringLiteral("10000/1.dcm"));
}

TEST_F(SwappedStore, IsNoticedInLifeToo)
{
    importAs(QStringLiteral("a.dcm"));
    swapFor(othersId);

    expectNothingHappens();
}

TEST_F(SwappedStore, WithoutANumberIsKnownByItsFiles)
{
    importAs(QStringLiteral("a.dcm"));
    mountAnother({});

    expectNothingHappens();
    EXPECT_FALSE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/.id")));
}

TEST_F(SwappedStore, WithoutANumberIsKnownByTheFewFilesThatTheRowsName)
{
    for (int image = 0; image < 12; ++image) {
        importAs(QStringLiteral("a.dcm"));
    }
    mountAnother({});

    EXPECT_TRUE(home.index().isStoreAnother());
}

TEST_F(SwappedStore, WhoseNumberCannotBeReadIsKnownByItsFiles)
{
    importAs(QStringLiteral("a.dcm"));
    home.close();
    swapFor({});
    ASSERT_TRUE(QDir().mkdir(home.fileStoreRoot() + QStringLiteral("/.id")));
    home.reopen();

    expectNothingHappens();
}

TEST_F(SwappedStore, KeepsItsFilesWhenImagesAreDeletedHere)
{
    importAs(QStringLiteral("a.dcm"));
    mountAnother(othersId);

    deleteTheStudy();
    home.index().finishRemovals();

    EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm")));
    EXPECT_EQ(home.number(QStringLiteral("SELECT count(*) FROM PendingRemoval")), 1);
}

TEST_F(SwappedStore, WithoutANumberKeepsItsFilesWhenNoRowTellsThemApartAnyMore)
{
    const QString sent = importAs(QStringLiteral("a.dcm"));
    home.index().recordUploadResult({}, sent, true);
    mountAnother({});

    home.clock.advance(std::chrono::hours(1));
    EXPECT_EQ(home.index().pruneSyncedImages(home.clock.now()), LocalPruneResult());
    deleteTheStudy();
    EXPECT_TRUE(home.index().takeUpStore());
    home.reopen();
    home.index().finishRemovals();

    EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm")));
}

TEST_F(SwappedStore, ThatHoldsNothingCanBeTheOneToUse)
{
    importAs(QStringLiteral("a.dcm"));
    home.close();
    swapFor(othersId);
    ASSERT_TRUE(QDir(home.fileStoreRoot() + QStringLiteral("/10000")).removeRecursively());
    home.reopen();

    EXPECT_TRUE(home.index().acceptStore());

    EXPECT_FALSE(home.index().isStoreOutOfSight());
    EXPECT_EQ(importAs(QStringLiteral("b.dcm")), QStringLiteral("10000/1.dcm"));
}

TEST_F(SwappedStore, IsTheOneToUseOnAPersonsWord)
{
    importAs(QStringLiteral("a.dcm"));
    mountAnother(othersId);

    EXPECT_TRUE(home.index().acceptStore());

    EXPECT_FALSE(home.index().isStoreOutOfSight());
    EXPECT_EQ(importAs(QStringLiteral("b.dcm")), QStringLiteral("10000/1.dcm"));
    home.reopen();
    EXPECT_FALSE(home.index().isStoreOutOfSight());
}

TEST_F(SwappedStore, KeepsItsFilesOnceItIsTheOneToUse)
{
    const QString sent = importAs(QStringLiteral("a.dcm"));
    home.index().recordUploadResult({}, sent, true);
    importAs(QStringLiteral("b.dcm"));
    mountAnother(othersId);

    EXPECT_TRUE(home.index().acceptStore());
    home.clock.advance(std::chrono::hours(1));
    home.index().pruneSyncedImages(home.clock.now());
    home.index().storeRecording().recordStoredFiles({}, [](std::int64_t) {});

    const QList<PendingImageUpload> waiting = home.index().pendingImageUploads(10);
    ASSERT_EQ(waiting.size(), 1);
    EXPECT_EQ(waiting.first().storagePath, QStringLiteral("10000/0.dcm"));
    EXPECT_EQ(waiting.first().originalSOPInstanceUIDs, QList{platform::testing::instanceUid("99.9")});
    EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm")));
    EXPECT_EQ(home.index().examination().rowsWithoutFile({}), 1); // the one that wasn't sent
}

TEST_F(SwappedStore, KeepsFilesThatHaveTheNamesOfWhatWasToGo)
{
    importAs(QStringLiteral("a.dcm"));
    mountAnother(othersId);
    deleteTheStudy();

    EXPECT_TRUE(home.index().acceptStore());
    home.index().finishRemovals();

    EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/10000/0.dcm")));
}

TEST_F(SwappedStore, ThatComesBackHasItsImagesInTheirRowsAgain)
{
    importAs(QStringLiteral("a.dcm"));
    mountAnother(othersId);
    ASSERT_TRUE(home.index().acceptStore());
    home.close();
    mount();
    home.reopen();

    EXPECT_TRUE(home.index().isStoreAnother());
    EXPECT_TRUE(home.index().acceptStore());
    home.index().storeRecording().recordStoredFiles({}, [](std::int64_t) {});

    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString FROM DicomImage WHERE pathString <> ''")),
              QStringList(QStringLiteral("10000/0.dcm")));
    EXPECT_EQ(home.index().examination().rowsWithoutFile({}), 0);
}

TEST_F(SwappedStore, ThatHoldsTheImagesOfTheRowsKeepsThem)
{
    const QString sent = importAs(QStringLiteral("a.dcm"));
    home.index().recordUploadResult({}, sent, true);
    home.close();
    QFile id(home.fileStoreRoot() + QStringLiteral("/.id"));
    ASSERT_TRUE(id.open(QIODevice::WriteOnly) && id.write(othersId.toLatin1()) > 0);
    id.close();
    home.reopen();

    EXPECT_TRUE(home.index().isStoreAnother());
    EXPECT_TRUE(home.index().acceptStore());

    EXPECT_FALSE(home.index().isStoreAnother());
    EXPECT_EQ(home.number(QStringLiteral("SELECT count(*) FROM DicomImage WHERE syncState = 1")), 1);
}

TEST_F(KnownStore, OfAnEarlierProgramGetsItsNumberInSilence)
{
    importAs(QStringLiteral("a.dcm"));
    home.close();
    ASSERT_TRUE(QFile::remove(home.fileStoreRoot() + QStringLiteral("/.id")));
    home.defaults.removeObject(QStringLiteral("QuorinGateway.FileStoreId"));

    home.reopen();

    EXPECT_FALSE(home.index().isStoreOutOfSight());
    EXPECT_TRUE(QFile::exists(home.fileStoreRoot() + QStringLiteral("/.id")));
}

TEST_F(KnownStore, IsKnownByItsFilesWhereItWasCopiedWithoutHiddenOnesOrTheDefaultsAreLost)
{
    importAs(QStringLiteral("a.dcm"));
    home.close();
    ASSERT_TRUE(QFile::remove(home.fileStoreRoot() + QStringLiteral("/.id")));
    home.reopen();
    EXPECT_FALSE(home.index().isStoreOutOfSight());

    home.close();
    home.defaults.removeObject(QStringLiteral("QuorinGateway.FileStoreId"));
    home.reopen();

    EXPECT_FALSE(home.index().isStoreOutOfSight());
    home.reopen();
    EXPECT_FALSE(home.index().isStoreOutOfSight());
}

TEST_F(SwappedStore, IsNotTakenWhileNobodyCanTellWhoseItsFilesAre)
{
    importAs(QStringLiteral("a.dcm"));
    mountAnother(othersId);
    home.parser.breakDown();

    EXPECT_FALSE(home.index().acceptStore());

    EXPECT_TRUE(home.index().isStoreAnother());
    EXPECT_EQ(home.rows(QStringLiteral("SELECT pathString FROM DicomImage")),
              QStringList(QStringLiteral("10000/0.dcm")));
    home.parser.breakDown(platform::ParsedFile::Fate::parsed);
    EXPECT_TRUE(home.index().acceptStore());
}

TEST_F(KnownStore, WithoutANumberIsTakenUpOnceItsFilesCanBeRead)
{
    importAs(QStringLiteral("a.dcm"));
    home.close();
    ASSERT_TRUE(QFile::remove(home.fileStoreRoot() + QStringLiteral("/.id")));
    home.parser.breakDown();
    home.reopen();
    EXPECT_TRUE(home.index().isStoreOutOfSight());

    home.parser.breakDown(platform::ParsedFile::Fate::parsed);

    EXPECT_FALSE(home.index().takeUpStore());
}

} // namespace

} // namespace gateway::index
