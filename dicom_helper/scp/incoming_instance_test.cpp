#include "dicom_helper/scp/incoming_instance.h"

#include "dicom_helper/scp/testing/memory_disk.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace gateway::dicom_helper::scp {

using testing::MemoryDisk;

namespace {

const std::string kHeader = "header";
const std::string kWhole = "headerone two";

bool store(MemoryDisk &disk, int *trouble = nullptr)
{
    SpaceClaims claims(0);
    IncomingInstance instance(disk, "name", kHeader, SpaceClaim(claims, 0));
    instance.append("one ");
    instance.append("two");
    const bool kept = instance.finish();
    if (trouble != nullptr) {
        *trouble = instance.trouble();
    }
    return kept;
}

} // namespace

TEST(IncomingInstance, IsDurableUnderItsFinalNameBeforeItCountsAsKept)
{
    MemoryDisk disk;

    EXPECT_TRUE(store(disk));

    EXPECT_EQ(disk.durableInbox(), (std::map<std::string, std::string>{{"name.dcm", kWhole}}));
    EXPECT_FALSE(disk.hasUnfinished());
    EXPECT_EQ(disk.stamps(), 1);
}

TEST(IncomingInstance, IsWrittenWholeThoughTheDiskTakesItInBits)
{
    MemoryDisk disk;
    disk.shortenWrites(3);

    EXPECT_TRUE(store(disk));

    EXPECT_EQ(disk.durableInbox()["name.dcm"], kWhole);
}

TEST(IncomingInstance, AFailureOfAnyStepRefusesItAndLeavesNothing)
{
    MemoryDisk whole;
    store(whole);
    for (int step = 1; step <= whole.operations(); ++step) {
        MemoryDisk disk;
        disk.failAt(step, -ENOSPC);
        int trouble = 0;

        EXPECT_FALSE(store(disk, &trouble)) << step;

        EXPECT_EQ(trouble, -ENOSPC) << step;
        EXPECT_TRUE(disk.inbox().empty()) << step;
        EXPECT_FALSE(disk.hasUnfinished()) << step;
    }
}

TEST(IncomingInstance, ACrashAfterAnyStepLeavesNoTornFileUnderAFinalName)
{
    MemoryDisk disk;
    SpaceClaims claims(0);
    IncomingInstance instance(disk, "name", kHeader, SpaceClaim(claims, 0));
    instance.append("one ");
    EXPECT_TRUE(disk.inboxAfterCrash().empty());
    instance.append("two");
    EXPECT_TRUE(disk.inboxAfterCrash().empty());

    instance.finish();

    EXPECT_EQ(disk.inboxAfterCrash()["name.dcm"], kWhole);
}

TEST(IncomingInstance, AFileThatIsShorterThanWhatWasWrittenIsRefused)
{
    MemoryDisk disk;
    disk.failAt(5, 3); // create, header, two pieces, then the size
    int trouble = 0;

    EXPECT_FALSE(store(disk, &trouble));

    EXPECT_EQ(trouble, -EIO);
    EXPECT_TRUE(disk.inbox().empty());
}

TEST(IncomingInstance, AWriteThatTakesNothingIsAnError)
{
    MemoryDisk disk;
    disk.failAt(3, 0);
    int trouble = 0;

    EXPECT_FALSE(store(disk, &trouble));

    EXPECT_EQ(trouble, -EIO);
}

TEST(IncomingInstance, BelowTheReserveNothingIsBegun)
{
    MemoryDisk disk;
    disk.setAvailableBytes(999);

    SpaceClaims claims(1000);
    IncomingInstance instance(disk, "name", kHeader, SpaceClaim(claims, 0));
    instance.append("bytes");

    EXPECT_FALSE(instance.finish());
    EXPECT_EQ(instance.trouble(), -ENOSPC);
    EXPECT_EQ(disk.operations(), 0);
}

TEST(IncomingInstance, ALongObjectThatEatsIntoTheReserveIsGivenUpAndItsSpaceFreed)
{
    MemoryDisk disk;
    SpaceClaims claims(1000);
    IncomingInstance instance(disk, "name", kHeader, SpaceClaim(claims, 0));
    instance.append(std::string(17 * 1024 * 1024, 'x'));

    disk.setAvailableBytes(999);
    instance.append("more");

    EXPECT_EQ(instance.trouble(), -ENOSPC);
    EXPECT_FALSE(disk.hasUnfinished());
    EXPECT_FALSE(instance.finish());
}

TEST(IncomingInstance, OneThatIsNeverFinishedLeavesNothing)
{
    MemoryDisk disk;
    {
        SpaceClaims claims(0);
        IncomingInstance instance(disk, "name", kHeader, SpaceClaim(claims, 0));
        instance.append("half");
        EXPECT_TRUE(disk.hasUnfinished());
    }

    EXPECT_FALSE(disk.hasUnfinished());
    EXPECT_TRUE(disk.inbox().empty());
}

} // namespace gateway::dicom_helper::scp
