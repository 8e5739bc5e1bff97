#include "upload/ahead_window.h"

#include <gtest/gtest.h>

namespace gateway::upload {

namespace {

/// How many files of a page are looked at when these are due.
qsizetype lookedAt(AheadWindow &window, qsizetype due, qsizetype ahead, qint64 bytes)
{
    while (window.wantsNext(due, ahead)) {
        window.add(bytes);
    }
    return window.size();
}

constexpr qint64 kLarge = AheadWindow::kMostBytes;

} // namespace

TEST(AheadWindow, HoldsAsManyAsTheRequestsAndAtLeastTwo)
{
    AheadWindow window;
    EXPECT_EQ(lookedAt(window, 1, 0, 500), 3);
    EXPECT_EQ(lookedAt(window, 1, 8, 500), 9);
    EXPECT_EQ(lookedAt(window, 4, 8, 500), 12);
    EXPECT_FALSE(window.wantsNext(4, 8));
}

TEST(AheadWindow, HoldsFewLargeFilesBeyondThoseWhoseTurnItIs)
{
    AheadWindow window;
    EXPECT_EQ(lookedAt(window, 10, 40, kLarge / 2), 12) << "the ten are due, however large they are";
    EXPECT_EQ(lookedAt(window, 11, 40, kLarge / 2), 13);

    AheadWindow huge;
    EXPECT_EQ(lookedAt(huge, 1, 8, 5 * kLarge), 2) << "one, so that the network doesn't wait";
}

TEST(AheadWindow, TakesNoFileThatIsNotThereForAWaitingOne)
{
    AheadWindow window;
    EXPECT_EQ(lookedAt(window, 1, 8, 0), 9);
}

} // namespace gateway::upload
