#include "platform/dicom/helper_process.h"

#include <gtest/gtest.h>

#include <csignal>
#include <system_error>

namespace gateway::platform {

namespace {

constexpr std::chrono::milliseconds kForEver(-1);

} // namespace

TEST(HelperProcess, TheProgramLiesBesideTheRunningOne)
{
    EXPECT_TRUE(helperProgramPath().endsWith(QStringLiteral("/bin/quorin-dicom")));
}

TEST(HelperProcess, AProgramThatIsNotThereIsAnError)
{
    EXPECT_THROW(HelperProcess(QStringLiteral("/nowhere/quorin-dicom"), QStringLiteral("scp")),
                 std::system_error);
}

TEST(HelperProcess, AnUnknownRoleEndsWithTheStatusForBadUsage)
{
    HelperProcess process(helperProgramPath(), QStringLiteral("poet"));

    EXPECT_EQ(process.wait(kForEver), 2);
}

TEST(HelperProcess, EndsWhenItsChannelCloses)
{
    HelperProcess process(helperProgramPath(), QStringLiteral("scp"));

    process.channel().close();

    EXPECT_TRUE(process.wait(kForEver));
}

TEST(HelperProcess, IsKilledAndReapedByItsOwner)
{
    pid_t pid = 0;
    {
        HelperProcess process(helperProgramPath(), QStringLiteral("scp"));
        pid = process.processId();
        EXPECT_FALSE(process.wait(std::chrono::milliseconds(0)));
    }

    EXPECT_EQ(::kill(pid, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST(HelperProcess, ASignalShowsInTheStatus)
{
    HelperProcess process(helperProgramPath(), QStringLiteral("scp"));

    process.kill();

    EXPECT_EQ(process.wait(kForEver), 128 + SIGKILL);
}

} // namespace gateway::platform
