// What of an upload's bookkeeping survives a power cut.

#include "index/testing/temporary_index.h"
#include "platform/dicom/testing/identities.h"
#include "platform/files/testing/faulty_file_system.h"
#include "platform/sqlite/database.h"
#include "platform/sqlite/testing/forgetful_log.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>

namespace gateway::index {

namespace {

using platform::Database;
using testing::TemporaryIndex;

class UploadsAndPowerCut : public ::testing::Test
{
protected:
    /// What a query finds when the power is cut now.
    std::int64_t left(const std::string &sql)
    {
        const QString copy = home.path(QStringLiteral("left-%1.sqlite").arg(++m_cuts));
        m_disk.leaveAfterPowerCut(home.indexFile(), copy);
        Database database = Database::open(copy, Database::Access::readWrite);
        return database.integer(sql);
    }

    /// Takes a received version of the one image in. \return its stored path.
    QString receive(std::chrono::seconds acknowledged, const QString &comment)
    {
        const QString path = home.path(comment);
        testing::writeSyntheticFile(
            path, TemporaryIndex::image(QStringLiteral("9.1"), {{QStringLiteral("ImageComments"), comment}}));
        platform::systemFiles().setModified(path, acknowledged);
        home.index().importFile(QUrl::fromLocalFile(path), ImportSource::ownInbox);
        return home.rows(QStringLiteral("SELECT DISTINCT pathString FROM DicomImage")).value(0);
    }

private:
    platform::testing::ForgetfulLog m_disk;
    int m_cuts = 0;

protected:
    platform::testing::FaultyFileSystem files;
    TemporaryIndex home{files};
};

constexpr const char *kState = "SELECT syncState FROM DicomImage";
constexpr const char *kSent = "SELECT count(*) FROM SentInstance";

} // namespace

TEST_F(UploadsAndPowerCut, WhatIsAboutToBeSentIsKnownAfterwardsAndWhatWasMarkedBefore)
{
    home.import(TemporaryIndex::image(QStringLiteral("9.1")));
    home.index().markImagesInProgress({{1}});
    EXPECT_EQ(left(kState), 0) << "nobody waits for the disk for a mark";

    home.index().noteSending({{platform::testing::instanceUid("9.1"), 7}});

    EXPECT_EQ(left(kSent), 1);
    EXPECT_EQ(left(kState), 3);
}

TEST_F(UploadsAndPowerCut, AResultIsKeptFromTheNextNoteOn)
{
    const QString path = home.import(TemporaryIndex::image(QStringLiteral("9.1")));
    home.index().noteSending({{platform::testing::instanceUid("9.1"), 7}});
    home.index().recordUploadResult({{1}}, path, true);
    EXPECT_EQ(left(kState), 0) << "it would be sent once more";
    EXPECT_EQ(left(kSent), 1) << "but not without knowing that it was sent before";

    home.index().noteSending({{platform::testing::instanceUid("9.2"), 7}});

    EXPECT_EQ(left(kState), 1);
}

TEST_F(UploadsAndPowerCut, NoEarlierVersionIsLetGoOfForAResultThatCouldBeLost)
{
    receive(std::chrono::seconds(1000), QStringLiteral("first"));
    const QString later = receive(std::chrono::seconds(2000), QStringLiteral("corrected"));
    files.failFromStep(0, EIO);

    home.index().recordUploadResult({}, later, true);

    EXPECT_GT(files.steps(), 0) << "the first one was to be removed";
    EXPECT_EQ(left(kState), 1) << "and nothing was written after that";
}

TEST_F(UploadsAndPowerCut, RetentionLetsGoOfNoFileWhoseRowComesBack)
{
    const QString path = home.import(TemporaryIndex::image(QStringLiteral("9.1")));
    home.index().recordUploadResult({}, path, true);
    EXPECT_EQ(left(kState), 0);
    files.failFromStep(0, EIO);

    home.index().pruneSyncedImages(QDateTime::currentDateTimeUtc().addYears(100));

    EXPECT_GT(files.steps(), 0);
    EXPECT_EQ(left("SELECT count(*) FROM DicomImage"), 0);
}

} // namespace gateway::index
