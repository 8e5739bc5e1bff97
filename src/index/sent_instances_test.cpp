#include "index/sent_instances.h"

#include "index/schema.h"
#include "index/testing/temporary_index.h"
#include "platform/sqlite/database.h"

#include <gtest/gtest.h>

namespace gateway::index {

namespace {

const QString kUid = QStringLiteral("1.2.3");

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

    void send(std::int64_t version) { noteSending(database, {kUid, version}); }

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
    EXPECT_EQ(sentBefore(database, {kUid, 7}), SentBefore::nothing);
    send(7);
    EXPECT_EQ(sentBefore(database, {kUid, 7}), SentBefore::thisVersion);
    EXPECT_EQ(sentBefore(database, {kUid, 8}), SentBefore::anotherVersion);
    send(8);
    EXPECT_EQ(sentBefore(database, {kUid, 8}), SentBefore::unknown);
}

TEST_F(SentInstances, SayOfWhatTheyDoNotKnowThatTheyMayLackIt)
{
    send(7);
    noteUnrecordedSends(database);

    EXPECT_EQ(sentBefore(database, {kUid, 7}), SentBefore::thisVersion);
    EXPECT_EQ(sentBefore(database, {QStringLiteral("1.2.4"), 7}), SentBefore::unrecorded);
}

TEST_F(SentInstances, DoubtWhatWasRecordedAgainUntilMoreIsKnown)
{
    send(7);
    noteUnknownHistory(database, kUid);
    EXPECT_FALSE(mayOtherBeSent(7)) << "more was known already";

    noteUnknownHistory(database, QStringLiteral("1.2.9"));
    EXPECT_TRUE(mayOtherVersionBeSent(database, {QStringLiteral("1.2.9"), 7}));
}

} // namespace gateway::index
