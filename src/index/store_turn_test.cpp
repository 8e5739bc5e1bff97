#include "index/store_turn.h"

#include "index/testing/swapped_store.h"
#include "platform/concurrency/testing/gate.h"

#include <thread>

namespace gateway::index {

namespace {

using testing::TemporaryIndex;

/// Work that was begun with one store, and ends when a person has taken another.
class StoreTurns : public testing::SwappedStore
{
protected:
    /// The other store stands there now, in life, and is the one to use.
    void takeAnother()
    {
        swapFor(othersId);
        ASSERT_TRUE(home.index().acceptStore());
    }

    void recordStore()
    {
        EXPECT_TRUE(home.index().storeRecording().recordStoredFiles({}, [](std::int64_t) {}));
    }

    bool isThere(const QString &pathString) const
    {
        return QFile::exists(home.fileStoreRoot() + u'/' + pathString);
    }

    QStringList states()
    {
        return home.rows(
            QStringLiteral("SELECT originalSOPInstanceUID, syncState, pathString FROM DicomImage "
                           "WHERE pathString <> '' ORDER BY pathString"));
    }

    const QString theirs = QStringLiteral("99.9|0|10000/0.dcm");
};

UploadResult sent(const PendingImageUpload &candidate)
{
    return {.images = candidate.imageObjectIDs,
            .storagePath = candidate.storagePath,
            .isSynced = true,
            .store = candidate.store};
}

TEST_F(StoreTurns, AnUploadProvesNothingOfTheNextStoresFileOfThatName)
{
    importAs(QStringLiteral("a.dcm"));
    const QList<PendingImageUpload> begun = home.index().pendingImageUploads(1);
    ASSERT_EQ(begun.size(), 1);
    takeAnother();
    recordStore();

    EXPECT_EQ(home.index().recordUploadResults({sent(begun.first())}), QList{std::optional<std::int64_t>(0)});

    EXPECT_EQ(states(), QStringList(theirs));
    const QList<PendingImageUpload> next = home.index().pendingImageUploads(1);
    ASSERT_EQ(next.size(), 1);
    EXPECT_EQ(home.index().recordUploadResults({sent(next.first())}), QList{std::optional<std::int64_t>(1)});
}

TEST_F(StoreTurns, AFailureOfAnUploadSaysNothingOfTheNextStoresFileOfThatName)
{
    importAs(QStringLiteral("a.dcm"));
    UploadResult result = sent(home.index().pendingImageUploads(1).value(0));
    takeAnother();
    recordStore();

    result.isSynced = false;
    result.more.failure = FailedUpload{QStringLiteral("fileChanged"), 0};
    home.index().recordUploadResults({result});

    EXPECT_EQ(states(), QStringList(theirs));
    EXPECT_TRUE(home.index().failedUploads().counts().isEmpty());
}

TEST_F(StoreTurns, WhatWasReleasedBeforeIsNotRemovedFromTheNextStore)
{
    importAs(QStringLiteral("a.dcm"));
    home.clock.advance(std::chrono::milliseconds(1));
    home.index().importFile(home.file(TemporaryIndex::image(
        QStringLiteral("1"), {{QStringLiteral("studyDescription"), QStringLiteral("another version")}})));
    const QList<PendingImageUpload> begun = home.index().pendingImageUploads(1);
    ASSERT_EQ(begun.value(0).storagePath, QStringLiteral("10000/1.dcm"));
    swapFor(othersId);
    put(QStringLiteral("10000/1.dcm"), QStringLiteral("99.10"));
    platform::testing::Gate reading;
    reading.hold(true);
    home.parser.onParse([&] { reading.pass(); });

    // One takes the store and looks whose files it holds; meanwhile the result releases the earlier copy.
    std::thread person([&] { EXPECT_TRUE(home.index().acceptStore()); });
    std::thread upload([&] { home.index().recordUploadResults({sent(begun.first())}); });
    while (home.number(QStringLiteral("SELECT count(*) FROM PendingRemoval")) == 0) {
        std::this_thread::yield();
    }
    reading.hold(false);
    person.join();
    upload.join();

    EXPECT_TRUE(isThere(QStringLiteral("10000/0.dcm")));
    recordStore();
    EXPECT_EQ(states(), QStringList({theirs, QStringLiteral("99.10|0|10000/1.dcm")}));
}

TEST_F(StoreTurns, AnImportGivesNoRowsToTheNextStoresFileOfThatName)
{
    importAs(QStringLiteral("a.dcm"));
    disk.heal();
    importAs(QStringLiteral("b.dcm"));
    const int last = disk.steps() - 1; // its name is durable after it
    disk.beforeStep(last, [&] {
        takeAnother();
        put(QStringLiteral("10000/2.dcm"), QStringLiteral("99.10"));
    });

    EXPECT_THROW(importAs(QStringLiteral("c.dcm")), GatewayImportError);

    EXPECT_EQ(importAs(QStringLiteral("c.dcm")), QStringLiteral("10000/3.dcm"))
        << "and what could not be saved before holds nothing up";
    EXPECT_TRUE(isThere(QStringLiteral("10000/2.dcm"))) << "nothing has rows for it yet";
    recordStore();
    EXPECT_EQ(states().first(2), QStringList({theirs, QStringLiteral("99.10|0|10000/2.dcm")}));
}

TEST_F(StoreTurns, WhatWasSeenInAStoreIsNotRecordedInTheNext)
{
    importAs(QStringLiteral("a.dcm"));
    home.execute(QStringLiteral("DELETE FROM DicomImage"));
    const UnrecordedFile seen = home.index().examination().lookAt(QStringLiteral("10000/0.dcm"));
    ASSERT_EQ(seen.kind, UnrecordedFile::Kind::image);
    takeAnother();

    EXPECT_FALSE(home.index().examination().record(seen));
    recordStore();

    EXPECT_EQ(states(), QStringList(theirs));
}

TEST_F(StoreTurns, ARecordingOfTheStoreBeforeDoesNotEndThatOfTheNext)
{
    for (int image = 0; image < 3; ++image) {
        importAs(QStringLiteral("a.dcm"));
    }
    home.execute(QStringLiteral("DELETE FROM DicomImage"));
    home.execute(QStringLiteral("UPDATE Ledger SET recordAgainFrom = 2"));
    bool isFirst = true;
    home.parser.onParse([&] {
        if (std::exchange(isFirst, false)) {
            takeAnother();
        }
    });

    EXPECT_FALSE(home.index().storeRecording().recordStoredFiles({}, [](std::int64_t) {}));

    recordStore();
    EXPECT_EQ(states(), QStringList(theirs));
}

TEST_F(StoreTurns, RowsWithoutAFileAreNotDamaged)
{
    importAs(QStringLiteral("a.dcm"));
    takeAnother();
    recordStore();

    EXPECT_EQ(home.index().examination().rowsWithoutFile({}), 1);
    EXPECT_EQ(home.index().examination().damagedFiles(), 0);
}

} // namespace

} // namespace gateway::index
