#include "platform/dicom/helper_fences.h"

#include "platform/dicom/helper_process.h"

#include <gtest/gtest.h>

#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace gateway::platform {

TEST(HelperFences, AreWhatThisKernelGives)
{
    const auto fences = askForFences(helperProgramPath());

    ASSERT_TRUE(fences);
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    EXPECT_EQ(fences->files, version >= 2);
    EXPECT_TRUE(fences->calls);
}

TEST(HelperFences, AreNotKnownWhereNobodyAnswers)
{
    EXPECT_FALSE(askForFences(QStringLiteral("/nowhere/quorin-dicom")));
}

} // namespace gateway::platform
