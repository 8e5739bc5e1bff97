#include "monitor/fill_forecast.h"

#include "platform/concurrency/testing/manual_clock.h"

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

constexpr qint64 kGigabyte = 1'000'000'000;
constexpr std::chrono::minutes kStep{5};

class Forecast : public ::testing::Test
{
protected:
    /// Samples at every step; each takes `bytes` of the free space.
    void fill(int steps, qint64 bytes)
    {
        for (int step = 0; step < steps; ++step) {
            m_clock.advance(kStep);
            m_free -= bytes;
            m_forecast.add(m_clock.monotonic(), m_free);
        }
    }

    std::optional<std::chrono::seconds> untilReserve() const { return m_forecast.untilReserve(kGigabyte); }

    platform::testing::ManualClock m_clock;
    qint64 m_free = 101 * kGigabyte;
    FillForecast m_forecast;
};

TEST_F(Forecast, TellsWhenTheReserveIsReachedAtASteadyRate)
{
    fill(13, kGigabyte); // 13 of 100 GB above the reserve; 87 are left, at 12 GB an hour

    EXPECT_EQ(untilReserve(), std::chrono::seconds(87 * 300));
}

TEST_F(Forecast, SaysNothingBeforeItHasSeenHalfAnHour)
{
    EXPECT_EQ(untilReserve(), std::nullopt);

    fill(6, kGigabyte); // the first sample and the sixth are 25 minutes apart
    EXPECT_EQ(untilReserve(), std::nullopt);

    fill(1, kGigabyte);
    EXPECT_TRUE(untilReserve().has_value());
}

TEST_F(Forecast, SaysNothingWhileTheVolumeStandsStillOrEmpties)
{
    fill(20, 0);
    EXPECT_EQ(untilReserve(), std::nullopt);

    fill(80, -kGigabyte);
    EXPECT_EQ(untilReserve(), std::nullopt);
}

TEST_F(Forecast, IsNotBentByALargeFileThatCameAndWent)
{
    fill(10, kGigabyte);
    fill(1, 61 * kGigabyte);
    fill(1, -59 * kGigabyte);
    fill(10, kGigabyte);

    EXPECT_EQ(untilReserve(), std::chrono::seconds(78 * 300));
}

TEST_F(Forecast, FollowsANewRateOnceTheOldOneIsOutOfItsWindow)
{
    fill(20, kGigabyte);
    fill(150, -kGigabyte);
    fill(73, kGigabyte); // six hours and a little

    EXPECT_EQ(untilReserve(), std::chrono::seconds((m_free - kGigabyte) / kGigabyte * 300));
}

TEST_F(Forecast, GoesByTheLatestSampleHoweverSoonItCame)
{
    fill(13, kGigabyte);

    m_clock.advance(std::chrono::seconds(10));
    m_forecast.add(m_clock.monotonic(), 11 * kGigabyte);

    EXPECT_EQ(untilReserve(), std::chrono::seconds(10 * 300));
}

TEST_F(Forecast, IsZeroAtAndBelowTheReserveFromTheFirstSample)
{
    m_forecast.add(m_clock.monotonic(), kGigabyte);
    EXPECT_EQ(untilReserve(), std::chrono::seconds(0));

    m_forecast.add(m_clock.monotonic(), 0);
    EXPECT_EQ(untilReserve(), std::chrono::seconds(0));
}

TEST_F(Forecast, TakesMoreThanAYearForNever)
{
    fill(30, 1000);

    EXPECT_EQ(untilReserve(), std::nullopt);
}

} // namespace
} // namespace gateway::monitor
