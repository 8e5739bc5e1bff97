#include "cloud_client/request_limit.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "platform/defaults/user_defaults.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>

namespace gateway::cloud_client::testing {

namespace {

const auto kService = QStringLiteral("dicomweb https://archive.example");

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
    EXPECT_FALSE(learnt.isReachedBy(1 << 30));

    learnt.refused(2000);
    learnt.refused(1000);
    learnt.refused(3000);

    EXPECT_FALSE(learnt.isReachedBy(999));
    EXPECT_TRUE(learnt.isReachedBy(1000));
}

TEST_F(RequestLimitTest, OutlivesTheProcess)
{
    limit().refused(1000);

    EXPECT_TRUE(limit().isReachedBy(1000));
    EXPECT_FALSE(limit().isReachedBy(999));
    EXPECT_FALSE(limit(QStringLiteral("dicomweb https://other.example")).isReachedBy(1000));
}

TEST_F(RequestLimitTest, IsForgottenWhenARequestOfThatSizeIsTaken)
{
    limit().refused(1000);

    limit().taken(999);
    EXPECT_TRUE(limit().isReachedBy(1000));
    limit().taken(1000);

    EXPECT_FALSE(limit().isReachedBy(1000));
    EXPECT_EQ(defaults.object(QString::fromLatin1(kRequestLimitKey)), std::nullopt);
}

TEST_F(RequestLimitTest, DoublesAfterSomeRequestsThatWereTaken)
{
    RequestLimit learnt = limit();
    learnt.refused(1000);

    for (int taken = 1; taken < RequestLimit::kFirstPatience; ++taken) {
        learnt.taken(500);
    }
    EXPECT_TRUE(learnt.isReachedBy(1000));
    learnt.taken(500);

    EXPECT_FALSE(learnt.isReachedBy(1999));
    EXPECT_TRUE(learnt.isReachedBy(2000));
    EXPECT_FALSE(limit().isReachedBy(1999)) << "in the next run, too";
}

TEST_F(RequestLimitTest, IsTriedLessAndLessOftenWhereItHolds)
{
    RequestLimit learnt = limit();
    learnt.refused(1000);
    int refusals = 0;
    for (int taken = 0; taken < 4 * RequestLimit::kLongestPatience; ++taken) {
        learnt.taken(500);
        if (!learnt.isReachedBy(1000)) {
            ++refusals;
            learnt.refused(1000);
        }
    }

    EXPECT_EQ(refusals, 9) << "after 16, 32 and so on up to 1024 requests each";
}

TEST_F(RequestLimitTest, LosesNoPatienceForALargeFileThatGoesAlone)
{
    RequestLimit learnt = limit();
    learnt.refused(1000);

    for (int taken = 0; taken < RequestLimit::kFirstPatience; ++taken) {
        learnt.refused(5000);
        learnt.taken(500);
    }

    EXPECT_FALSE(learnt.isReachedBy(1999));
}

TEST_F(RequestLimitTest, IsTriedAgainAfterAWeek)
{
    RequestLimit learnt = limit();
    learnt.refused(1000);

    clock.advance(RequestLimit::kMemory);
    EXPECT_FALSE(learnt.isReachedBy(1000));
    EXPECT_FALSE(limit().isReachedBy(1000));

    learnt.refused(1500);
    EXPECT_FALSE(learnt.isReachedBy(1000));
    EXPECT_TRUE(learnt.isReachedBy(1500));
}

TEST_F(RequestLimitTest, IsNothingWhereWhatIsKeptMakesNoSense)
{
    for (const char *kept : {"", "{", "{}", R"({"bytes":-1})", R"({"bytes":"1"})", "[1]"}) {
        defaults.setObject(QString::fromLatin1(kRequestLimitKey), QString::fromLatin1(kept));
        EXPECT_FALSE(limit().isReachedBy(1 << 30)) << kept;
    }
}

} // namespace gateway::cloud_client::testing
