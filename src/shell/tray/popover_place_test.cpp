#include "shell/tray/popover_place.h"

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

constexpr QRect kScreen(0, 30, 1600, 1170); // below a bar
constexpr QSize kPanel(340, 500);

TEST(PopoverPlace, IsCentredBelowTheItem)
{
    const QRect item(1000, 0, 30, 30);

    EXPECT_EQ(popoverPlace(item, kPanel, kScreen), QPoint(1000 + 15 - 170, 36));
}

TEST(PopoverPlace, IsAboveAnItemAtTheBottom)
{
    const QRect item(1000, 1170, 30, 30);

    EXPECT_EQ(popoverPlace(item, kPanel, QRect(0, 0, 1600, 1170)).y(), 1170 - 6 - 500);
}

TEST(PopoverPlace, StaysWholeOnTheScreenInItsCorners)
{
    for (const QPoint corner : {QPoint(0, 0), QPoint(1590, 0), QPoint(0, 1190), QPoint(1590, 1190)}) {
        const QRect place(popoverPlace(QRect(corner, QSize(10, 10)), kPanel, kScreen), kPanel);

        EXPECT_TRUE(kScreen.contains(place)) << corner.x() << ' ' << corner.y();
    }
}

TEST(PopoverPlace, IsTheMiddleWithoutAnAnchor)
{
    EXPECT_EQ(popoverPlace({}, kPanel, QRect(100, 0, 1000, 800)), QPoint(100 + 330, 150));
}

TEST(PopoverPlace, BeginsAtTheTopOfAScreenThatIsTooSmall)
{
    EXPECT_EQ(popoverPlace(QRect(10, 10, 10, 10), kPanel, QRect(0, 0, 320, 240)), QPoint(0, 0));
}

} // namespace
} // namespace gateway::shell
