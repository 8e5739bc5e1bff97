#include "upload/upload_gate.h"

#include "platform/concurrency/testing/manual_clock.h"

#include <gtest/gtest.h>

namespace gateway::upload {

using core::FailureClass;
using StoreUpload::QueueTrouble;
using StoreUpload::RunSummary;

namespace {

using namespace std::chrono_literals;

struct UploadGateTest : ::testing::Test
{
    platform::testing::ManualClock clock;
    double random = 0;
    UploadGate gate{clock, [this] { return random; }};

    /// A run that met trouble. \return how long the gate stays closed.
    std::chrono::nanoseconds endInTrouble(std::optional<std::chrono::seconds> retryAfter = {},
                                          std::int64_t sent = 0)
    {
        gate.runEnded({.successfulUploads = sent,
                       .trouble = QueueTrouble{{FailureClass::notReachable, 7}, retryAfter}});
        return gate.remaining();
    }
};

} // namespace

TEST_F(UploadGateTest, IsOpenUntilARunMeetsTrouble)
{
    EXPECT_TRUE(gate.isOpen());
    gate.runEnded({.failedUploads = 4});
    EXPECT_TRUE(gate.isOpen());
    EXPECT_FALSE(gate.isTroubled());
    EXPECT_EQ(gate.closure(), std::nullopt);

    endInTrouble();

    EXPECT_FALSE(gate.isOpen());
    EXPECT_TRUE(gate.isTroubled());
}

TEST_F(UploadGateTest, OpensWithTimeAndIsTroubledUntilARunGoesWell)
{
    const auto pause = endInTrouble();
    clock.advance(pause - 1ms);
    EXPECT_FALSE(gate.isOpen());

    clock.advance(1ms);
    EXPECT_TRUE(gate.isOpen());
    EXPECT_TRUE(gate.isTroubled());

    gate.runEnded({.successfulUploads = 1});
    EXPECT_FALSE(gate.isTroubled());
}

TEST_F(UploadGateTest, PausesDoubleFromTwoSecondsToFiveMinutes)
{
    const std::vector<std::chrono::nanoseconds> expected = {
        2s, 4s, 8s, 16s, 32s, 64s, 128s, 256s, 300s, 300s};
    for (const std::chrono::nanoseconds pause : expected) {
        EXPECT_EQ(endInTrouble(), pause);
        clock.advance(pause);
    }
}

TEST_F(UploadGateTest, PausesOfADayInWhichNothingWorksAreFewerThanThreeHundredAndSixty)
{
    random = 0.999; // the shortest pauses
    int runs = 0;
    for (const auto end = clock.monotonic() + 24h; clock.monotonic() < end; ++runs) {
        clock.advance(endInTrouble());
    }

    EXPECT_LT(runs, 370);
    EXPECT_GT(runs, 280);
}

TEST_F(UploadGateTest, ChanceTakesAFifthOffAtMost)
{
    random = 0.5;
    EXPECT_EQ(endInTrouble(), 1800ms);
    random = 1;
    EXPECT_EQ(endInTrouble(), 3200ms);
}

TEST_F(UploadGateTest, PausesStartAnewAfterProgress)
{
    endInTrouble();
    endInTrouble();
    endInTrouble();

    EXPECT_EQ(endInTrouble({}, 60), 2s);
    EXPECT_EQ(endInTrouble(), 4s);
}

TEST_F(UploadGateTest, StaysClosedForAsLongAsTheCloudAskedFor)
{
    EXPECT_EQ(endInTrouble(300s), 300s);
    EXPECT_EQ(endInTrouble(1h), 1h);
    random = 1;
    EXPECT_EQ(endInTrouble(300s), 301s) << "later by chance, but never sooner";
}

TEST_F(UploadGateTest, OwnPausesStillGrowWhereTheCloudAsksForLess)
{
    for (int run = 0; run < 6; ++run) {
        endInTrouble(0s);
    }

    EXPECT_EQ(endInTrouble(1s), 128s);
}

TEST_F(UploadGateTest, OpenedByHandGoesOnWithLongerPauses)
{
    endInTrouble();
    endInTrouble();

    gate.open();

    EXPECT_TRUE(gate.isOpen());
    EXPECT_TRUE(gate.isTroubled());
    EXPECT_EQ(endInTrouble(), 8s);
}

TEST_F(UploadGateTest, SaysWhyItIsClosedAndUntilWhen)
{
    endInTrouble(60s);

    const auto closure = gate.closure();
    ASSERT_TRUE(closure);
    EXPECT_EQ(closure->cause, FailureClass::notReachable);
    EXPECT_TRUE(closure->wasAskedFor);
    EXPECT_EQ(closure->until, clock.now().addSecs(60));
}

TEST_F(UploadGateTest, ClosesForARunThatHadNoSession)
{
    gate.runEnded({.missingToken = true});

    EXPECT_EQ(gate.closure()->cause, FailureClass::notSignedIn);
    EXPECT_FALSE(gate.closure()->wasAskedFor);
}

} // namespace gateway::upload
