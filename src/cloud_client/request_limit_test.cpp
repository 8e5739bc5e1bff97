#include "cloud_client/request_limit.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "platform/defaults/user_defaults.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>

namespace gateway::cloud_client::testing {

namespace {

const auto kService = QStringLiteral("dicomweb https://archive.example");

/// A request of two instances.
RequestExtent of(qint64 bytes)
{
    return {bytes, 2};
}

struct RequestLimitTest : ::testing::Test
{
    /// As in a new run of the program.
    RequestLimit limit(const QString &service = kService) { return {service, clock, &defaults}; }

    QTemporaryDir folder;
    platform::testing::ManualClock clock;
    platform::UserDefaults defaults{folder.filePath(QStringLiteral("defaults.sqlite"))};
};

} // namespace

TEST_F(RequestLimitTest, IsTheSmallestSizeThatWasRefused)
{
    RequestLimit learnt = limit();
    EXPECT_FALSE(learnt.isReachedBy(of(1 << 30)));

    learnt.refused(of(2000));
    learnt.refused(of(1000));
    learnt.refused(of(3000));

    EXPECT_FALSE(learnt.isReachedBy(of(999)));
    EXPECT_TRUE(learnt.isReachedBy(of(1000)));
}

TEST_F(RequestLimitTest, OutlivesTheProcess)
{
    limit().refused(of(1000));

    EXPECT_TRUE(limit().isReachedBy(of(1000)));
    EXPECT_FALSE(limit().isReachedBy(of(999)));
    EXPECT_FALSE(limit(QStringLiteral("dicomweb https://other.example")).isReachedBy(of(1000)));
}

TEST_F(RequestLimitTest, IsForgottenWhenARequestOfThatSizeIsTaken)
{
    limit().refused(of(1000));

    limit().taken(of(999));
    EXPECT_TRUE(limit().isReachedBy(of(1000)));
    limit().taken(of(1000));

    EXPECT_FALSE(limit().isReachedBy(of(1000)));
    EXPECT_EQ(defaults.object(QString::fromLatin1(kRequestLimitKey)), std::nullopt);
}

TEST_F(RequestLimitTest, DoublesAfterSomeRequestsThatWereTaken)
{
    RequestLimit learnt = limit();
    learnt.refused(of(1000));

    for (int taken = 1; taken < RequestLimit::kFirstPatience; ++taken) {
        learnt.taken(of(500));
    }
    EXPECT_TRUE(learnt.isReachedBy(of(1000)));
    learnt.taken(of(500));

    EXPECT_FALSE(learnt.isReachedBy(of(1999)));
    EXPECT_TRUE(learnt.isReachedBy(of(2000)));
    EXPECT_FALSE(limit().isReachedBy(of(1999))) << "in the next run, too";
}

TEST_F(RequestLimitTest, IsTriedLessAndLessOftenWhereItHolds)
{
    RequestLimit learnt = limit();
    learnt.refused(of(1000));
    int refusals = 0;
    for (int taken = 0; taken < 4 * RequestLimit::kLongestPatience; ++taken) {
        learnt.taken(of(500));
        if (!learnt.isReachedBy(of(1000))) {
            ++refusals;
            learnt.refused(of(1000));
        }
    }

    EXPECT_EQ(refusals, 9) << "after 16, 32 and so on up to 1024 requests each";
}

TEST_F(RequestLimitTest, LosesNoPatienceForALargeFileThatGoesAlone)
{
    RequestLimit learnt = limit();
    learnt.refused(of(1000));

    for (int taken = 0; taken < RequestLimit::kFirstPatience; ++taken) {
        learnt.refused(of(5000));
        learnt.taken(of(500));
    }

    EXPECT_FALSE(learnt.isReachedBy(of(1999)));
}

TEST_F(RequestLimitTest, IsTriedAgainAfterAWeek)
{
    RequestLimit learnt = limit();
    learnt.refused(of(1000));

    clock.advance(RequestLimit::kMemory);
    EXPECT_FALSE(learnt.isReachedBy(of(1000)));
    EXPECT_FALSE(limit().isReachedBy(of(1000)));

    learnt.refused(of(1500));
    EXPECT_FALSE(learnt.isReachedBy(of(1000)));
    EXPECT_TRUE(learnt.isReachedBy(of(1500)));
}

TEST_F(RequestLimitTest, IsOneOfInstancesWhereSoManyBytesWereTakenBefore)
{
    RequestLimit learnt = limit();
    learnt.refused({16'000, 32}); // of the bytes, as far as anybody knows
    learnt.refused({8'000, 16});
    learnt.taken({4'000, 8});
    EXPECT_FALSE(learnt.isReachedBy({1'000, 100}));

    learnt.refused({1'000, 100});
    EXPECT_TRUE(learnt.isReachedBy({1'000, 100}));
    EXPECT_FALSE(learnt.isReachedBy({1'000, 50}));
    learnt.refused({500, 50});
    learnt.refused({250, 25});
    learnt.refused({120, 12});
    learnt.taken({60, 6});

    EXPECT_TRUE(learnt.isReachedBy({120, 12}));
    EXPECT_TRUE(limit().isReachedBy({120, 12})) << "in the next run, too";
    EXPECT_FALSE(learnt.isReachedBy({7'000, 11})) << "what was learnt of the bytes stays what it was";
    EXPECT_TRUE(learnt.isReachedBy({8'000, 11}));
    for (int taken = 1; taken < RequestLimit::kFirstPatience; ++taken) {
        learnt.taken({60, 6});
    }
    EXPECT_FALSE(learnt.isReachedBy({120, 12})) << "it is tried upward like the other";
}

TEST_F(RequestLimitTest, IsNoneOfInstancesWhereAServiceTakesFewerBytesThanItDid)
{
    RequestLimit learnt = limit();
    learnt.taken({16'000, 32});

    learnt.refused({8'000, 16});
    learnt.refused({4'000, 64});

    EXPECT_FALSE(learnt.isReachedBy({1'000, 100}));
    EXPECT_TRUE(learnt.isReachedBy({4'000, 2}));
}

TEST_F(RequestLimitTest, IsNeverOneOfASingleInstance)
{
    RequestLimit learnt = limit();
    learnt.taken({16'000, 1});

    learnt.refused({8'000, 1});

    EXPECT_FALSE(learnt.isReachedBy({100, 1}));
    EXPECT_FALSE(learnt.isReachedBy({100, 2}));
}

TEST_F(RequestLimitTest, IsNothingWhereWhatIsKeptMakesNoSense)
{
    for (const char *kept : {"", "{", "{}", R"({"bytes":-1})", R"({"bytes":"1"})", "[1]"}) {
        defaults.setObject(QString::fromLatin1(kRequestLimitKey), QString::fromLatin1(kept));
        EXPECT_FALSE(limit().isReachedBy(of(1 << 30))) << kept;
    }
}

} // namespace gateway::cloud_client::testing
