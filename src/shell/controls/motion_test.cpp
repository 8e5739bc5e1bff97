#include "shell/controls/frame_ticker.h"
#include "shell/controls/skeleton.h"
#include "shell/controls/transition.h"
#include "shell/testing/themed_window.h"

#include <QtTest/QSignalSpy>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using testing::ThemedWindow;

TEST(FrameTicker, RestsWhileItIsNotWanted)
{
    ThemedWindow fixture;
    fixture.theme().setReducedMotion(false);
    FrameTicker ticker(fixture.theme(), fixture.window());
    ASSERT_TRUE(fixture.show());
    EXPECT_FALSE(ticker.isTicking());

    ticker.setWanted(true);
    EXPECT_TRUE(ticker.isTicking());
    QSignalSpy frames(&ticker, &FrameTicker::frame);
    EXPECT_TRUE(frames.wait(30'000));
    ticker.setWanted(false);

    EXPECT_FALSE(ticker.isTicking());
}

TEST(FrameTicker, StopsWhenItsWidgetIsHidden)
{
    ThemedWindow fixture;
    fixture.theme().setReducedMotion(false);
    auto &moving = fixture.add(new QWidget);
    FrameTicker ticker(fixture.theme(), moving);
    ticker.setWanted(true);
    EXPECT_FALSE(ticker.isTicking()); // not shown yet
    ASSERT_TRUE(fixture.show());
    EXPECT_TRUE(ticker.isTicking());

    moving.hide();
    EXPECT_FALSE(ticker.isTicking());
    moving.show();
    EXPECT_TRUE(ticker.isTicking());
    fixture.window().hide();

    EXPECT_FALSE(ticker.isTicking());
}

TEST(FrameTicker, StopsWhenItsWindowIsMinimised)
{
    ThemedWindow fixture;
    fixture.theme().setReducedMotion(false);
    auto &moving = fixture.add(new QWidget);
    FrameTicker ticker(fixture.theme(), moving);
    ticker.setWanted(true);
    ASSERT_TRUE(fixture.show());

    fixture.window().setWindowState(Qt::WindowMinimized);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !ticker.isTicking(); }, 30'000));
    fixture.window().setWindowState(Qt::WindowNoState);

    EXPECT_TRUE(QTest::qWaitFor([&] { return ticker.isTicking(); }, 30'000));
}

TEST(FrameTicker, StopsWhenLessMotionIsAskedFor)
{
    ThemedWindow fixture;
    fixture.theme().setReducedMotion(false);
    FrameTicker ticker(fixture.theme(), fixture.window());
    ticker.setWanted(true);
    ASSERT_TRUE(fixture.show());
    QSignalSpy rests(&ticker, &FrameTicker::rested);

    fixture.theme().setReducedMotion(true);

    EXPECT_FALSE(ticker.isTicking());
    EXPECT_EQ(rests.count(), 1);
    EXPECT_EQ(ticker.elapsed(), std::chrono::milliseconds(0));
}

TEST(FrameTicker, TicksAtMostThirtyTimesASecond)
{
    EXPECT_GE(FrameTicker::kInterval, std::chrono::milliseconds(1000 / 30 + 1));
}

TEST(Transition, IsAtItsEndAtOnceWhenNobodySeesIt)
{
    const Theme theme;
    QWidget hidden;
    Transition transition(theme, hidden, 0);

    transition.moveTo(1);

    EXPECT_EQ(transition.value(), 1.0);
}

TEST(Transition, IsAtItsEndAtOnceWhenMotionIsReduced)
{
    ThemedWindow fixture;
    Transition transition(fixture.theme(), fixture.window(), 0);
    ASSERT_TRUE(fixture.show());

    transition.moveTo(1);

    EXPECT_EQ(transition.value(), 1.0);
}

TEST(Transition, MovesToItsEndAndTurnsBackFromWhereItIs)
{
    ThemedWindow fixture;
    fixture.theme().setReducedMotion(false);
    Transition transition(fixture.theme(), fixture.window(), 0);
    ASSERT_TRUE(fixture.show());

    transition.moveTo(1, Motion::slow);
    EXPECT_LT(transition.value(), 1.0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return transition.value() > 0; }, 30'000));
    const double onItsWay = transition.value();
    transition.moveTo(0, Motion::slow);

    EXPECT_LE(transition.value(), onItsWay);
    EXPECT_TRUE(QTest::qWaitFor([&] { return transition.value() == 0.0; }, 30'000));
}

TEST(Transition, EndsWhenItsWidgetIsHidden)
{
    ThemedWindow fixture;
    fixture.theme().setReducedMotion(false);
    Transition transition(fixture.theme(), fixture.window(), 0);
    ASSERT_TRUE(fixture.show());
    transition.moveTo(1, Motion::slow);

    fixture.window().hide();

    EXPECT_EQ(transition.value(), 1.0);
}

TEST(Skeleton, TellsThatSomethingLoads)
{
    const Theme theme;
    Skeleton skeleton(theme, 3);

    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(&skeleton);

    ASSERT_NE(told, nullptr);
    EXPECT_EQ(told->role(), QAccessible::Indicator);
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("Loading"));
    EXPECT_EQ(skeleton.sizeHint().height(), 3 * theme.size(Size::row));
}

} // namespace
} // namespace gateway::shell
