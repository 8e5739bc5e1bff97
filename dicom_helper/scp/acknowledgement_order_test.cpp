#include "dicom_helper/scp/acknowledgement_order.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace gateway::dicom_helper::scp {

TEST(AcknowledgementOrder, FollowsTheClockForward)
{
    AcknowledgementOrder order(100);

    EXPECT_EQ(order.next(500), 500);
    EXPECT_EQ(order.next(501), 501);
}

TEST(AcknowledgementOrder, GoesOnRisingWhenTheClockStandsOrIsSetBack)
{
    AcknowledgementOrder order(1000);

    EXPECT_EQ(order.next(500), 1001);
    EXPECT_EQ(order.next(1001), 1002);
    EXPECT_EQ(order.next(3), 1003);
}

TEST(AcknowledgementOrder, IsOneOverForkedProcesses)
{
    AcknowledgementOrder order(0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::_exit(order.next(7000) == 7000 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);

    EXPECT_EQ(order.next(5), 7001);
}

} // namespace gateway::dicom_helper::scp
