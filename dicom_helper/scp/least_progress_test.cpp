#include "dicom_helper/scp/least_progress.h"

#include <gtest/gtest.h>

namespace gateway::dicom_helper::scp {

using std::chrono::seconds;

namespace {

/// Whether a peer that sends so many bytes each second gets through five minutes.
bool survives(std::int64_t bytesPerSecond)
{
    LeastProgress progress(seconds(30));
    for (int second = 0; second < 300; ++second) {
        progress.onWaited(seconds(1));
        if (!progress.onBytes(bytesPerSecond)) {
            return false;
        }
    }
    return true;
}

} // namespace

TEST(LeastProgress, ADripIsTooSlowAndASlowLinkIsNot)
{
    EXPECT_FALSE(survives(1));
    EXPECT_FALSE(survives(1023));
    EXPECT_TRUE(survives(1024));
}

TEST(LeastProgress, IsAnAverageOverAMinute)
{
    LeastProgress progress(seconds(30));
    progress.onBytes(60 * 1024);
    progress.onWaited(seconds(59)); // a link that stood still

    EXPECT_TRUE(progress.onBytes(1));
    progress.onWaited(seconds(1));
    EXPECT_TRUE(progress.onBytes(1));
}

TEST(LeastProgress, TimeThatNobodyWaitedForThePeerIsNotItsOwn)
{
    LeastProgress progress(seconds(30));
    for (int i = 0; i < 1000; ++i) {
        EXPECT_TRUE(progress.onBytes(1)); // a disk that takes minutes
    }
}

TEST(LeastProgress, BeginsAnewWithEachMessage)
{
    LeastProgress progress(seconds(30));
    progress.onWaited(seconds(59));
    progress.reset();
    progress.onWaited(seconds(59));

    EXPECT_TRUE(progress.onBytes(1));
}

TEST(LeastProgress, LeavesAPeerTheSilenceThatTheSettingsAllow)
{
    LeastProgress progress(seconds(600));
    progress.onWaited(seconds(599));

    EXPECT_TRUE(progress.onBytes(1));
}

} // namespace gateway::dicom_helper::scp
