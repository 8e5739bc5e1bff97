#include "platform/concurrency/main_thread.h"

#include <gtest/gtest.h>

#include <thread>

namespace gateway::platform {

TEST(MainThread, IsTheFirstOneOfTheProcess)
{
    assertMainThread("This test");
}

TEST(MainThreadDeathTest, EndsTheProgramThatUsesItsThingsElsewhere)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");

    EXPECT_DEATH(std::thread([] { assertMainThread("A model"); }).join(),
                 "A model was used away from the main thread");
}

} // namespace gateway::platform
