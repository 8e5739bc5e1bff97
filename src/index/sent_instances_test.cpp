#include "index/sent_instances.h"

#include "index/schema.h"
#include "index/testing/temporary_index.h"
#include "platform/dicom/testing/identities.h"
#include "platform/sqlite/database.h"

#include <gtest/gtest.h>

namespace gateway::index {

namespace {

const platform::InstanceUid kUid = platform::testing::instanceUid("1.2.3");
constexpr std::int64_t kSender = 5;

struct SentInstances : ::testing::Test
{
    QTemporaryDir home;
    platform::Database database = opened();

    platform::Database opened() const
    {
        platform::Database made = platform::Database::open(home.filePath(QStringLiteral("i.sqlite")),
                                                           platform::Database::Access::readWrite);
        bringSchemaUpToDate(made);
        made.prepare("UPDATE Ledger SET recordAgainFrom = NULL").run(); // as of an index in use
        return made;
    }

    void send(std::int64_t version, std::int64_t sender = kSender)
    {
        noteSending(database, {kUid, version}, sender);
    }

    SentBefore before(std::int64_t version) { return sentBefore(database, {kUid, version}, kSender); }

    bool mayOtherBeSent(std::int64_t version) { return mayOtherVersionBeSent(database, {kUid, version}); }
};

} // namespace

TEST_F(SentInstances, KnowTheOnlyVersionThatWasSent)
{
    EXPECT_FALSE(mayOtherBeSent(7)) << "nothing was sent";

    send(7);
    EXPECT_FALSE(mayOtherBeSent(7));
    EXPECT_TRUE(mayOtherBeSent(8));
    send(7);
    EXPECT_FALSE(mayOtherBeSent(7)) << "the same again";
}

TEST_F(SentInstances, DoubtEachVersionOnceTwoWereSentUntilOneWasSeen)
{
    send(7);
    send(8);

    EXPECT_TRUE(mayOtherBeSent(7));
    EXPECT_TRUE(mayOtherBeSent(8));

    noteVerified(database, {kUid, 8});
    EXPECT_FALSE(mayOtherBeSent(8));
    EXPECT_TRUE(mayOtherBeSent(7));
}

TEST_F(SentInstances, TellWhatWasSentBeforeTheNextOne)
{
    EXPECT_EQ(before(7), SentBefore::nothing);
    send(7);
    EXPECT_EQ(before(7), SentBefore::thisVersionOnItsWay);
    EXPECT_EQ(before(8), SentBefore::anotherVersion);
    send(8);
    EXPECT_EQ(before(8), SentBefore::unknown);
}

TEST_F(SentInstances, TellWhetherTheVersionMayHaveArrived)
{
    send(7);
    noteFailed(database, {kUid, 7});
    EXPECT_EQ(before(7), SentBefore::thisVersionInVain);
    send(7);
    EXPECT_EQ(before(7), SentBefore::thisVersionInVain) << "a failure isn't forgotten";

    noteStored(database, {kUid, 7});
    EXPECT_EQ(before(7), SentBefore::thisVersion);
    noteFailed(database, {kUid, 7});
    EXPECT_EQ(before(7), SentBefore::thisVersion) << "it was answered as stored";
}

TEST_F(SentInstances, CallBrokenOffWhatAnotherProcessHadOnItsWay)
{
    send(7, kSender + 1);
    EXPECT_EQ(before(7), SentBefore::thisVersionBrokeOff);
    send(7);
    EXPECT_EQ(before(7), SentBefore::thisVersionOnItsWay);

    EXPECT_NE(newSender(), newSender());
}

TEST_F(SentInstances, ResultsOfOneVersionSayNothingOfAnother)
{
    send(7);
    noteStored(database, {kUid, 8});
    noteFailed(database, {kUid, 8});
    EXPECT_EQ(before(7), SentBefore::thisVersionOnItsWay);

    send(8);
    noteStored(database, {kUid, 8});
    EXPECT_EQ(before(8), SentBefore::unknown);
    noteVerified(database, {kUid, 8});
    EXPECT_EQ(before(8), SentBefore::thisVersion);
}

TEST_F(SentInstances, TellAnEarlierVersionThatALaterOneWentBefore)
{
    const auto beforeOneOf = [this](std::int64_t version, std::int64_t acknowledged) {
        return sentBefore(database, {kUid, version, acknowledged}, kSender);
    };
    noteSending(database, {kUid, 7, 200}, kSender);
    EXPECT_EQ(beforeOneOf(8, 100), SentBefore::anotherVersion) << "the later one may never have arrived";

    noteStored(database, {kUid, 7, 200});
    EXPECT_EQ(beforeOneOf(8, 100), SentBefore::laterVersion);
    EXPECT_EQ(beforeOneOf(7, 100), SentBefore::thisVersion);
    EXPECT_EQ(beforeOneOf(8, 300), SentBefore::anotherVersion);
    EXPECT_EQ(beforeOneOf(8, 0), SentBefore::anotherVersion) << "nobody knows when it came";
}

TEST_F(SentInstances, HoldBackNoImageThatHasItsUidInAnotherStudy)
{
    noteSending(database, {kUid, 7, 200, QStringLiteral("1 1.1")}, kSender);
    noteStored(database, {kUid, 7, 200, QStringLiteral("1 1.1")});

    EXPECT_EQ(sentBefore(database, {kUid, 8, 100, QStringLiteral("1 1.1")}, kSender),
              SentBefore::laterVersion);
    EXPECT_EQ(sentBefore(database, {kUid, 8, 100, QStringLiteral("2 2.1")}, kSender),
              SentBefore::anotherVersion);
}

TEST_F(SentInstances, KeepTheTimeOfTheLatestVersionWhateverIsNotedLater)
{
    noteVerified(database, {kUid, 7, 200});
    noteStored(database, {kUid, 7, 100}); // the same dataset, as it came before
    noteVerified(database, {kUid, 8, 50});
    noteSending(database, {kUid, 9, 150}, kSender);

    EXPECT_EQ(sentBefore(database, {kUid, 9, 150}, kSender), SentBefore::laterVersion);

    noteStored(database, {kUid, 9, 250}); // of several that were sent
    EXPECT_EQ(sentBefore(database, {kUid, 8, 220}, kSender), SentBefore::laterVersion);
}

TEST_F(SentInstances, BelieveOfOneCloudNothingThatAnotherAnswered)
{
    const SentInstance first{
        .instance = kUid, .version = 7, .cloud = QStringLiteral("https://a.example anna")};
    const SentInstance second{
        .instance = kUid, .version = 7, .cloud = QStringLiteral("https://b.example anna")};
    const auto beforeAt = [this](const SentInstance &next) { return sentBefore(database, next, kSender); };
    noteSending(database, first, kSender);
    noteStored(database, first);
    EXPECT_EQ(beforeAt(first), SentBefore::thisVersion);

    EXPECT_EQ(beforeAt(second), SentBefore::nothing);
    EXPECT_TRUE(mayOtherBeSent(8));
    noteSending(database, second, kSender);
    noteFailed(database, second);
    EXPECT_EQ(beforeAt(second), SentBefore::thisVersionInVain);
    noteVerified(database, second);
    EXPECT_EQ(beforeAt(second), SentBefore::thisVersion);

    EXPECT_EQ(beforeAt(first), SentBefore::nothing) << "what was known of it has made room";
}

TEST_F(SentInstances, KeepAnAnswerForTheCloudThatGaveIt)
{
    SentInstance atFirst{
        .instance = kUid, .version = 7, .acknowledged = 50, .cloud = QStringLiteral("first")};
    SentInstance atSecond = atFirst;
    atSecond.cloud = QStringLiteral("second");
    noteSending(database, atFirst, kSender);
    noteSending(database, atSecond, kSender); // while the first request is under way

    noteStored(database, atFirst);
    EXPECT_EQ(sentBefore(database, atSecond, kSender), SentBefore::thisVersionOnItsWay);
    noteFailed(database, atFirst);
    EXPECT_EQ(sentBefore(database, atSecond, kSender), SentBefore::thisVersionOnItsWay);

    noteVerified(database, atFirst);
    EXPECT_EQ(sentBefore(database, atFirst, kSender), SentBefore::thisVersion);
    EXPECT_EQ(sentBefore(database, atSecond, kSender), SentBefore::nothing) << "it was seen at the first";
}

TEST_F(SentInstances, KnowWhichCloudsAnsweredAQuery)
{
    const QString first = QStringLiteral("first");
    EXPECT_FALSE(isQueryAnswerNoted(database, first));
    noteQueryAnswered(database, first);

    EXPECT_TRUE(isQueryAnswerNoted(database, first));
    EXPECT_FALSE(isQueryAnswerNoted(database, QStringLiteral("second")));
}

TEST_F(SentInstances, HoldBackNoWholeImageForAStumpThatCameLater)
{
    const SentInstance stump{.instance = kUid, .version = 7, .acknowledged = 200, .isDamaged = true};
    noteSending(database, stump, kSender);
    noteStored(database, stump);
    EXPECT_EQ(sentBefore(database, {kUid, 8, 100}, kSender), SentBefore::anotherVersion);
    noteVerified(database, stump);
    EXPECT_EQ(sentBefore(database, {kUid, 8, 100}, kSender), SentBefore::anotherVersion);
}

TEST_F(SentInstances, LackSomeWhereMoreWereCountedThanTheyKnow)
{
    send(7);
    send(8);
    EXPECT_EQ(sendCount(database), 2);
    noteSendCount(database, 2);
    EXPECT_FALSE(lacksSentInstances(database));

    noteSendCount(database, 5);
    EXPECT_TRUE(lacksSentInstances(database));
    EXPECT_EQ(sendCount(database), 5) << "the next backup is held against all of them";
}

TEST_F(SentInstances, SayOfWhatTheyDoNotKnowThatTheyMayLackIt)
{
    send(7);
    noteUnrecordedSends(database);

    EXPECT_EQ(before(7), SentBefore::thisVersionOnItsWay);
    EXPECT_EQ(sentBefore(database, {platform::testing::instanceUid("1.2.4"), 7}, kSender),
              SentBefore::unrecorded);
}

TEST_F(SentInstances, DoubtWhatWasRecordedAgainUntilMoreIsKnown)
{
    send(7);
    noteUnknownHistory(database, kUid);
    EXPECT_FALSE(mayOtherBeSent(7)) << "more was known already";

    noteUnknownHistory(database, platform::testing::instanceUid("1.2.9"));
    EXPECT_TRUE(mayOtherVersionBeSent(database, {platform::testing::instanceUid("1.2.9"), 7}));
}

} // namespace gateway::index
