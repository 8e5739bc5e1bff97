#include "platform/dicom/restart_pause.h"

#include <gtest/gtest.h>

namespace gateway::platform {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(RestartPause, TheFirstIsShortAndTheyGrowToHalfAMinute)
{
    RestartPause pause;

    const milliseconds first = pause.next(seconds(3));
    milliseconds last = first;
    for (int i = 0; i < 10; ++i) {
        const milliseconds next = pause.next(seconds(0));
        EXPECT_GE(next, last);
        last = next;
    }

    EXPECT_LT(first, seconds(1));
    EXPECT_EQ(last, seconds(30));
}

TEST(RestartPause, AListenerThatWasWellForAMinuteIsStartedAgainAtOnce)
{
    RestartPause pause;
    const milliseconds first = pause.next(seconds(0));
    pause.next(seconds(0));
    pause.next(seconds(59));

    EXPECT_EQ(pause.next(seconds(60)), first);
}

} // namespace gateway::platform
