#include "log/browsing/image_trail.h"

#include "log/browsing/testing/log_folder.h"

#include <gtest/gtest.h>

namespace gateway::log {
namespace {

using testing::eventAt;
using enum GatewayLogAction;

// Of two images that came by one association, the hashes in the inbox and in the file store.
const QString kInbox = QStringLiteral("1111111111111111");
const QString kStored = QStringLiteral("2222222222222222");
const QString kOtherInbox = QStringLiteral("3333333333333333");
const QString kOtherStored = QStringLiteral("4444444444444444");
const QString kAssociation = QStringLiteral("aaaaaaaaaaaaaaaa");

class ImageTrail : public ::testing::Test
{
protected:
    GatewayLogEvent event(GatewayLogCategory category, GatewayLogAction action)
    {
        GatewayLogEvent made = eventAt(m_second++);
        made.category = category;
        made.action = action;
        return made;
    }

    void associated(GatewayLogAction action, const QString &association = kAssociation)
    {
        GatewayLogEvent made = event(GatewayLogCategory::receive, action);
        made.assocHash = association;
        m_folder.append(m_file, made);
    }

    void received(GatewayLogAction action, const QString &inbox, const QString &stored = {})
    {
        GatewayLogEvent made = event(GatewayLogCategory::receive, action);
        made.assocHash = m_association;
        made.fileHash = inbox;
        if (!stored.isEmpty()) {
            made.details = {{kStoredFileHashKey, stored}};
        }
        m_folder.append(m_file, made);
    }

    void sent(GatewayLogAction action, const QString &stored)
    {
        GatewayLogEvent made = event(GatewayLogCategory::send, action);
        made.correlationId = QStringLiteral("a run");
        made.fileHash = stored;
        m_folder.append(m_file, made);
    }

    void ofARun(GatewayLogAction action)
    {
        GatewayLogEvent made = event(GatewayLogCategory::uploadQueue, action);
        made.correlationId = QStringLiteral("a run");
        m_folder.append(m_file, made);
    }

    /// Two images from their association to the removal of the first, in two files.
    void twoLives()
    {
        associated(associationStarted);
        received(fileReceivedCallback, kInbox);
        received(fileReceivedCallback, kOtherInbox);
        received(importSucceeded, kInbox, kStored);
        received(importSucceeded, kOtherInbox, kOtherStored);
        received(incomingFileDeleted, kInbox);
        associated(associationCompleted);
        m_file = QStringLiteral("b.jsonl");
        ofARun(uploadRunStarted);
        sent(uploadCandidateSelected, kStored);
        sent(uploadCandidateSelected, kOtherStored);
        sent(uploadAttemptFailed, kStored);
        sent(uploadAttemptSucceeded, kStored);
        sent(uploadResultRecorded, kStored);
        ofARun(uploadRunFinished);
        sent(incomingFileDeleted, kStored);
    }

    /// The actions of a life, oldest first.
    std::vector<GatewayLogAction> lifeOf(const QString &hash) const
    {
        const auto rows =
            readLogRows(m_folder.path(), std::nullopt, std::make_shared<const LogRows>(), std::stop_token());
        const FilteredLogRows life = imageTrail(rows, {hash});
        std::vector<GatewayLogAction> actions;
        for (qsizetype index = life.count() - 1; index >= 0; --index) {
            actions.push_back(rows->record(life.position(index)).action);
        }
        return actions;
    }

    testing::LogFolder m_folder;
    QString m_file = QStringLiteral("a.jsonl");
    std::optional<QString> m_association = kAssociation;
    int m_second = 0;
};

const std::vector kWholeLife = {associationStarted,
                                fileReceivedCallback,
                                importSucceeded,
                                incomingFileDeleted,
                                associationCompleted,
                                uploadCandidateSelected,
                                uploadAttemptFailed,
                                uploadAttemptSucceeded,
                                uploadResultRecorded,
                                incomingFileDeleted};

TEST_F(ImageTrail, LeadsFromEitherHashOfAnImageThroughAllFiles)
{
    twoLives();

    EXPECT_EQ(lifeOf(kInbox), kWholeLife);
    EXPECT_EQ(lifeOf(kStored), kWholeLife);
}

TEST_F(ImageTrail, TakesHashesInAnyCase)
{
    twoLives();

    EXPECT_EQ(lifeOf(kAssociation.toUpper()), lifeOf(kAssociation));
    EXPECT_FALSE(lifeOf(kAssociation).empty());
}

TEST_F(ImageTrail, LeavesOutTheImageThatCameBesideIt)
{
    twoLives();

    EXPECT_EQ(lifeOf(kOtherStored),
              (std::vector{associationStarted,
                           fileReceivedCallback,
                           importSucceeded,
                           associationCompleted,
                           uploadCandidateSelected}));
}

TEST_F(ImageTrail, LeadsFromAnAssociationToAllItsImages)
{
    twoLives();

    EXPECT_EQ(lifeOf(kAssociation).size(), 13U); // all but what a run tells of itself
}

TEST_F(ImageTrail, GivesTheSameLifeByTheAssociationOfAnImageThatCameAlone)
{
    associated(associationStarted);
    received(importSucceeded, kInbox, kStored);
    sent(uploadResultRecorded, kStored);

    EXPECT_EQ(lifeOf(kAssociation), (std::vector{associationStarted, importSucceeded, uploadResultRecorded}));
    EXPECT_EQ(lifeOf(kStored), lifeOf(kAssociation));
}

TEST_F(ImageTrail, ShowsAnAssociationThatBroughtNothing)
{
    associated(associationStarted);
    associated(associationFailed);
    associated(associationStarted, QStringLiteral("bbbbbbbbbbbbbbbb"));

    EXPECT_EQ(lifeOf(kAssociation), (std::vector{associationStarted, associationFailed}));
}

TEST_F(ImageTrail, FollowsAFileThatWasFoundAgainAfterARestart)
{
    associated(associationStarted);
    received(fileReceivedCallback, kInbox);
    m_association.reset();
    received(importSucceeded, kInbox, kStored);
    sent(uploadResultRecorded, kStored);

    EXPECT_EQ(lifeOf(kStored),
              (std::vector{associationStarted, fileReceivedCallback, importSucceeded, uploadResultRecorded}));
}

TEST_F(ImageTrail, KnowsNothingOfAnUnknownHash)
{
    twoLives();

    EXPECT_TRUE(lifeOf(QStringLiteral("0123456789abcdef")).empty());
    EXPECT_TRUE(lifeOf(QString()).empty());
    EXPECT_TRUE(lifeOf(kInbox.first(8)).empty());
}

TEST_F(ImageTrail, IsTheWholeFilterWhereAnImageIsNamed)
{
    twoLives();
    const auto rows =
        readLogRows(m_folder.path(), std::nullopt, std::make_shared<const LogRows>(), std::stop_token());

    const FilteredLogRows life = filterLogRows(
        rows, {LevelFilter::error, CategoryFilter::listener, QStringLiteral("no such text"), {kStored}});

    EXPECT_EQ(life.positions, imageTrail(rows, {kStored}).positions);
    EXPECT_EQ(life.count(), std::ssize(kWholeLife));
}

TEST_F(ImageTrail, OfSeveralImagesIsAllOfTheirLives)
{
    twoLives();
    const auto rows =
        readLogRows(m_folder.path(), std::nullopt, std::make_shared<const LogRows>(), std::stop_token());

    const FilteredLogRows both = imageTrail(rows, {kStored, kOtherStored.toUpper()});

    EXPECT_EQ(both.positions, imageTrail(rows, {kAssociation}).positions);
    EXPECT_GT(both.count(), imageTrail(rows, {kStored}).count());
}

TEST(LogHash, HasSixteenHexadecimalDigits)
{
    EXPECT_TRUE(isLogHash(QStringLiteral("0123456789abCDEF")));
    EXPECT_FALSE(isLogHash(QStringLiteral("0123456789abcde")));
    EXPECT_FALSE(isLogHash(QStringLiteral("0123456789abcdeg")));
    EXPECT_FALSE(isLogHash(QString()));
}

} // namespace
} // namespace gateway::log
