#include "dicom_helper/scp/acknowledgement_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include <sys/wait.h>
#include <unistd.h>

namespace gateway::dicom_helper::scp {

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;

std::int64_t asItIs(std::int64_t time)
{
    return time;
}

/// A volume that keeps multiples of a time.
AcknowledgementOrder::Keep volumeOf(std::int64_t grain)
{
    return [grain](std::int64_t time) { return time - time % grain; };
}

} // namespace

TEST(AcknowledgementOrder, FollowsTheClockForward)
{
    AcknowledgementOrder order(100);

    EXPECT_EQ(order.give(500, asItIs), 500);
    EXPECT_EQ(order.give(501, asItIs), 501);
}

TEST(AcknowledgementOrder, GoesOnRisingWhenTheClockStandsOrIsSetBack)
{
    AcknowledgementOrder order(1000);

    EXPECT_EQ(order.give(500, asItIs), 1001);
    EXPECT_EQ(order.give(1001, asItIs), 1002);
    EXPECT_EQ(order.give(3, asItIs), 1003);
}

TEST(AcknowledgementOrder, GivesTimesThatACoarseVolumeKeepsApart)
{
    for (const std::int64_t grain : {std::int64_t{100}, std::int64_t{1'000}, kSecond, 2 * kSecond}) {
        AcknowledgementOrder order(7 * kSecond + 1);
        const AcknowledgementOrder::Keep keep = volumeOf(grain);
        std::int64_t last = 7 * kSecond + 1;
        for (int object = 0; object < 5; ++object) {
            const std::int64_t given = order.give(7 * kSecond + 5, keep);
            EXPECT_GT(given, last);
            EXPECT_EQ(given, keep(given)) << grain;
            EXPECT_LE(given, last + 2 * grain) << "no coarser than it must be";
            last = given;
        }
    }
}

TEST(AcknowledgementOrder, SaysWhereAVolumeKeepsNoTimes)
{
    AcknowledgementOrder order(0);

    EXPECT_EQ(order.give(500, [](std::int64_t) { return 0; }), -ERANGE);
    EXPECT_EQ(order.give(500, [](std::int64_t) { return -EPERM; }), -EPERM);
}

TEST(AcknowledgementOrder, RefusesATimeBehindTheEndOfAVolumesTimesAndGoesOnWhenTheClockIsRightAgain)
{
    const auto keep = [end = 1000 * kSecond](std::int64_t time) { return std::min(time, end); };
    AcknowledgementOrder order(0);

    EXPECT_EQ(order.give(2000 * kSecond + 7, keep), -ERANGE);
    EXPECT_EQ(order.give(500, keep), 500);
    EXPECT_EQ(order.give(501, keep), 501) << "no coarser than before";
}

TEST(AcknowledgementOrder, TakesOneTimeThatWasNotKeptForNoHabit)
{
    AcknowledgementOrder order(0);
    int calls = 0;

    EXPECT_EQ(order.give(501, [&](std::int64_t time) { return ++calls == 1 ? time + kSecond : -EIO; }), -EIO);
    EXPECT_EQ(order.give(501, asItIs), 501);
}

TEST(AcknowledgementOrder, GivesNoTimeTwiceWhereAnotherProcessIsQuicker)
{
    AcknowledgementOrder order(0);
    bool wasOvertaken = false;

    const std::int64_t given = order.give(500, [&](std::int64_t time) {
        if (!wasOvertaken) {
            wasOvertaken = true;
            EXPECT_EQ(order.give(500, asItIs), 500);
        }
        return time;
    });

    EXPECT_EQ(given, 501);
}

TEST(AcknowledgementOrder, IsRaisedAndNeverLowered)
{
    AcknowledgementOrder order(100);

    order.raise(1000);
    order.raise(900);

    EXPECT_EQ(order.give(500, asItIs), 1001);
}

TEST(AcknowledgementOrder, IsOneOverForkedProcesses)
{
    AcknowledgementOrder order(0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::_exit(order.give(7000, asItIs) == 7000 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);

    EXPECT_EQ(order.give(5, asItIs), 7001);
}

} // namespace gateway::dicom_helper::scp
