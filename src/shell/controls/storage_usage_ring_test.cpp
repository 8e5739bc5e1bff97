#include "shell/controls/storage_usage_ring.h"

#include "shell/controls/storage_hover_tooltip.h"
#include "shell/testing/themed_window.h"

#include <QtGui/QAccessible>

#include <gtest/gtest.h>

#include <limits>

namespace gateway::shell {
namespace {

using testing::ThemedWindow;

constexpr double kMost = 0x1p63; // more than an integer holds, twice

TEST(StorageUsageRing, IsEmptyWhenUsedAndAvailableAreZero)
{
    EXPECT_EQ(StorageUsageRing::fractionOf(0, 0), 0.0);
}

TEST(StorageUsageRing, DividesUsedByUsedPlusAvailable)
{
    EXPECT_DOUBLE_EQ(StorageUsageRing::fractionOf(25, 75), 0.25);
    EXPECT_DOUBLE_EQ(StorageUsageRing::fractionOf(75, 0), 1.0);
    EXPECT_DOUBLE_EQ(StorageUsageRing::fractionOf(0, 75), 0.0);
}

TEST(StorageUsageRing, BearsFiguresThatCannotBe)
{
    EXPECT_DOUBLE_EQ(StorageUsageRing::fractionOf(kMost, kMost), 0.5);
    EXPECT_DOUBLE_EQ(StorageUsageRing::fractionOf(-5, 10), 0.0);
    EXPECT_DOUBLE_EQ(StorageUsageRing::fractionOf(5, -5), 1.0);
}

TEST(StorageUsageRing, KeepsItsFractionBetweenNothingAndAll)
{
    const Theme theme;
    StorageUsageRing ring(theme, Color::blue);

    ring.setUsedFraction(1.7);
    EXPECT_EQ(ring.usedFraction(), 1.0);
    ring.setUsedFraction(-0.1);
    EXPECT_EQ(ring.usedFraction(), 0.0);
    ring.setUsedFraction(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(ring.usedFraction(), 0.0);
}

TEST(StorageUsageRing, PaintsAsMuchOfTheRoundAsIsUsed)
{
    ThemedWindow fixture;
    auto &ring = fixture.add(new StorageUsageRing(fixture.theme(), Color::green));
    ring.setFixedSize(96, 96);
    ASSERT_TRUE(fixture.show());
    const QColor used = fixture.theme().color(Color::green);
    const QPoint right(96 - 9, 48);
    const QPoint left(8, 48);

    ring.setUsedFraction(0.5);
    const QImage half = ring.grab().toImage();
    ring.setUsedFraction(0);
    const QImage none = ring.grab().toImage();

    EXPECT_EQ(half.pixelColor(right), used);
    EXPECT_NE(half.pixelColor(left), used);
    EXPECT_NE(none.pixelColor(right), used);
}

TEST(StorageUsageRing, TellsAssistiveToolsItsShare)
{
    const Theme theme;
    StorageUsageRing ring(theme, Color::blue);
    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(&ring);
    ASSERT_NE(told, nullptr);
    ASSERT_NE(told->valueInterface(), nullptr);

    ring.setUsedFraction(0.37);

    EXPECT_EQ(told->role(), QAccessible::ProgressBar);
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("Used storage"));
    EXPECT_DOUBLE_EQ(told->valueInterface()->currentValue().toDouble(), 37);
    EXPECT_DOUBLE_EQ(told->valueInterface()->maximumValue().toDouble(), 100);
    ring.setAccessibleName(QStringLiteral("Cloud storage"));
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("Cloud storage"));
}

TEST(StorageHoverTooltip, ShowsWhileThePointerIsOnItsAnchor)
{
    ThemedWindow fixture;
    auto &ring = fixture.add(new StorageUsageRing(fixture.theme(), Color::blue));
    auto &other = fixture.add(new QWidget);
    StorageHoverTooltip tooltip(fixture.theme(), &fixture.window());
    tooltip.setText(QStringLiteral("Used: 1.00 GB\nFree: 2.00 GB"));
    tooltip.watch(ring);
    ASSERT_TRUE(fixture.show());

    QTest::mouseMove(&other);
    QTest::mouseMove(&ring);
    EXPECT_TRUE(QTest::qWaitFor([&] { return tooltip.isVisible(); }, 30'000));
    QTest::mouseMove(&other);

    EXPECT_TRUE(QTest::qWaitFor([&] { return !tooltip.isVisible(); }, 30'000));
}

TEST(StorageHoverTooltip, ShowsForTheKeyboardAndLiesWithinTheWindow)
{
    ThemedWindow fixture;
    auto &before = fixture.add(new StorageUsageRing(fixture.theme(), Color::blue));
    auto &ring = fixture.add(new StorageUsageRing(fixture.theme(), Color::blue));
    StorageHoverTooltip tooltip(fixture.theme(), &fixture.window());
    tooltip.setText(QStringLiteral("Used: 1.00 GB\nFree: 2.00 GB\nTotal: 3.00 GB"));
    tooltip.watch(ring);
    ASSERT_TRUE(fixture.show());
    before.setFocus();

    QTest::keyClick(&before, Qt::Key_Tab);

    ASSERT_TRUE(ring.hasFocus());
    EXPECT_TRUE(tooltip.isVisible());
    const QRect seen = tooltip.geometry().adjusted(16, 16, -16, -16); // without its shadow
    EXPECT_TRUE(fixture.window().rect().contains(seen));
    QTest::keyClick(&ring, Qt::Key_Backtab);
    EXPECT_FALSE(tooltip.isVisible());
}

TEST(StorageHoverTooltip, StaysAwayWithoutWords)
{
    ThemedWindow fixture;
    auto &ring = fixture.add(new StorageUsageRing(fixture.theme(), Color::blue));
    StorageHoverTooltip tooltip(fixture.theme(), &fixture.window());
    tooltip.watch(ring);
    ASSERT_TRUE(fixture.show());

    ring.setFocus(Qt::TabFocusReason);

    EXPECT_FALSE(tooltip.isVisible());
}

} // namespace
} // namespace gateway::shell
