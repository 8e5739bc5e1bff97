#include "state/upload_speed.h"

#include <gtest/gtest.h>

#include <limits>

namespace gateway::state {

namespace {

using namespace std::chrono_literals;
using Sample = UploadSpeed::Sample;

} // namespace

TEST(UploadSpeedFigure, IsInDecimalMegabits)
{
    UploadSpeed speed;

    EXPECT_EQ(speed.take(2'500'000, 2s, 0s), Sample::shown);

    EXPECT_DOUBLE_EQ(speed.mbps(), 10);
}

TEST(UploadSpeedFigure, MovesTowardsANewSampleByAThird)
{
    UploadSpeed speed;
    speed.take(1'000'000, 1s, 0s);

    EXPECT_EQ(speed.take(3'000'000, 1s, 1200ms), Sample::shown);

    EXPECT_DOUBLE_EQ(speed.mbps(), 8 * 0.65 + 24 * 0.35);
}

TEST(UploadSpeedFigure, DropsSamplesWithinTwelveTenthsOfASecond)
{
    UploadSpeed speed;
    speed.take(1'000'000, 1s, 0s);

    EXPECT_EQ(speed.take(3'000'000, 1s, 1199ms), Sample::held);
    EXPECT_DOUBLE_EQ(speed.mbps(), 8);
    EXPECT_EQ(speed.take(1'000'000, 1s, 1200ms), Sample::shown);

    EXPECT_DOUBLE_EQ(speed.mbps(), 8) << "the dropped sample left nothing";
}

TEST(UploadSpeedFigure, TakesTheFirstSampleAfterAResetAtOnceAndAsItIs)
{
    UploadSpeed speed;
    speed.take(1'000'000, 1s, 0s);
    speed.reset();

    EXPECT_EQ(speed.take(3'000'000, 1s, 1ms), Sample::shown);

    EXPECT_DOUBLE_EQ(speed.mbps(), 24);
}

TEST(UploadSpeedFigure, TakesNoSampleOfNothingInNoTimeOrBeyondNumbers)
{
    using Seconds = std::chrono::duration<double>;
    UploadSpeed speed;

    EXPECT_EQ(speed.take(0, 1s, 0s), Sample::none);
    EXPECT_EQ(speed.take(-5, 1s, 0s), Sample::none);
    EXPECT_EQ(speed.take(5, 0s, 0s), Sample::none);
    EXPECT_EQ(speed.take(5, -1s, 0s), Sample::none);
    EXPECT_EQ(speed.take(5, Seconds(std::numeric_limits<double>::quiet_NaN()), 0s), Sample::none);
    EXPECT_EQ(speed.take(5, Seconds(std::numeric_limits<double>::infinity()), 0s), Sample::none);
    EXPECT_EQ(speed.take(std::numeric_limits<qint64>::max(), Seconds(1e-300), 0s), Sample::none);
    EXPECT_EQ(speed.mbps(), 0);
}

} // namespace gateway::state
