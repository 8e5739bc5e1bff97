#include "dicom_helper/scp/space_claims.h"

#include "dicom_helper/scp/incoming_instance.h"
#include "dicom_helper/scp/testing/memory_disk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

namespace gateway::dicom_helper::scp {

using testing::MemoryDisk;

namespace {

constexpr std::int64_t kMiB = 1024 * 1024;
constexpr std::int64_t kReserve = 64 * kMiB;

} // namespace

TEST(SpaceClaims, AllOpenObjectsTogetherLeaveTheReserve)
{
    SpaceClaims claims(kReserve);
    MemoryDisk disk;
    disk.setAvailableBytes(kReserve + 20 * kMiB);
    std::int64_t covered = 0;
    for (std::size_t slot = 0; slot < SpaceClaims::kSlots; ++slot) {
        SpaceClaim(claims, slot).cover(1, disk);
        covered += claims.claimed(slot);
    }

    EXPECT_GT(covered, 0);
    EXPECT_LE(covered, 20 * kMiB);
}

TEST(SpaceClaims, ManyObjectsFindRoomWhereItIsScarce)
{
    SpaceClaims claims(kReserve);
    MemoryDisk disk;
    disk.setAvailableBytes(kReserve + 128 * kMiB);
    int refused = 0;
    for (std::size_t slot = 0; slot < SpaceClaims::kSlots; ++slot) {
        refused += SpaceClaim(claims, slot).cover(1, disk) == 0 ? 0 : 1;
    }

    EXPECT_EQ(refused, 0);
}

TEST(SpaceClaims, WhatIsWrittenIsClaimedNoLonger)
{
    SpaceClaims claims(0);
    MemoryDisk disk;
    SpaceClaim claim(claims, 3);
    ASSERT_EQ(claim.cover(100, disk), 0);
    const std::int64_t before = claims.claimed(3);

    claim.written(100);

    EXPECT_EQ(claims.claimed(3), before - 100);
    claim.giveBack();
    EXPECT_EQ(claims.claimed(3), 0);
}

TEST(SpaceClaims, AClaimOfAnotherProcessCountsUntilItIsTakenBack)
{
    SpaceClaims claims(kReserve);
    MemoryDisk disk;
    disk.setAvailableBytes(kReserve + kMiB);
    const pid_t other = ::fork();
    if (other == 0) {
        SpaceClaim(claims, 7).cover(kMiB, disk);
        std::_Exit(0); // as one that is killed, it gives nothing back
    }
    ASSERT_GT(other, 0);
    ASSERT_EQ(::waitpid(other, nullptr, 0), other);

    EXPECT_EQ(SpaceClaim(claims, 0).cover(1, disk), -ENOSPC);
    claims.giveBack(7);
    EXPECT_EQ(SpaceClaim(claims, 0).cover(1, disk), 0);
}

TEST(SpaceClaims, AnObjectThatEndsLeavesNoClaim)
{
    SpaceClaims claims(0);
    MemoryDisk disk;
    {
        IncomingInstance kept(disk, "one", "header", SpaceClaim(claims, 0));
        kept.append("bytes");
        ASSERT_TRUE(kept.finish());
    }
    {
        IncomingInstance failed(disk, "two", "header", SpaceClaim(claims, 1));
        disk.failAt(1, -EIO);
        failed.append("bytes");
        EXPECT_EQ(claims.claimed(1), 0);
    }

    EXPECT_EQ(claims.claimed(0), 0);
    EXPECT_EQ(claims.claimed(1), 0);
}

} // namespace gateway::dicom_helper::scp
