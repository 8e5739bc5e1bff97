#include "shell/dashboard/cards/flow_overlay.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "shell/testing/themed_window.h"

#include <QtTest/QSignalSpy>

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;
using testing::ThemedWindow;

/// The places of the arrows of one column, from the top.
std::set<double> columnOf(const QList<FlowArrow> &arrows, double x)
{
    std::set<double> places;
    for (const FlowArrow &arrow : arrows) {
        if (std::abs(arrow.centre.x() - x) < 1e-9) {
            places.insert(arrow.centre.y());
        }
    }
    return places;
}

std::set<double> columnsOf(const QList<FlowArrow> &arrows)
{
    std::set<double> columns;
    for (const FlowArrow &arrow : arrows) {
        columns.insert(arrow.centre.x());
    }
    return columns;
}

bool hasArrowAt(const std::set<double> &column, double y)
{
    return std::any_of(column.begin(), column.end(), [y](double at) { return std::abs(at - y) < 1e-6; });
}

/// An overlay in a shown window with motion.
class Flow : public ::testing::Test
{
protected:
    void SetUp() override
    {
        window.theme().setReducedMotion(false);
        down = &window.add(new DownArrowFlowOverlay(window.theme(), clock));
        up = &window.add(new UpArrowFlowOverlay(window.theme(), clock));
        ASSERT_TRUE(window.show());
    }

    /// Whether there is anything on the ground.
    bool showsArrows()
    {
        const QImage picture = down->grab().toImage();
        QImage ground = picture;
        ground.fill(picture.pixelColor(0, 0));
        return picture != ground;
    }

    ThemedWindow window;
    platform::testing::ManualClock clock;
    DownArrowFlowOverlay *down = nullptr;
    UpArrowFlowOverlay *up = nullptr;
};

TEST(FlowArrows, AVeryNarrowOverlayStillDrawsFourColumns)
{
    EXPECT_EQ(columnsOf(flowArrows(FlowDirection::down, {5, 100}, 0)), (std::set<double>{1, 2, 3, 4}));
    EXPECT_EQ(columnsOf(flowArrows(FlowDirection::up, {5, 100}, 0)), (std::set<double>{1, 2, 3, 4}));
}

TEST(FlowArrows, HaveAColumnForEachSeventyPoints)
{
    EXPECT_EQ(columnsOf(flowArrows(FlowDirection::down, {349, 100}, 0)).size(), 4u);
    EXPECT_EQ(columnsOf(flowArrows(FlowDirection::down, {350, 100}, 0)).size(), 5u);
    EXPECT_EQ(columnsOf(flowArrows(FlowDirection::down, {700, 100}, 0)).size(), 10u);
}

TEST(FlowArrows, MoveAtTheSpeedOfTheirColumn)
{
    const QSizeF area(5, 200); // columns at 1, 2, 3, 4
    const QList<FlowArrow> down = flowArrows(FlowDirection::down, area, 0.5);
    const QList<FlowArrow> up = flowArrows(FlowDirection::up, area, 0.5);

    const double speeds[] = {70, 90, 110, 70};
    for (int column = 0; column < 4; ++column) {
        EXPECT_TRUE(hasArrowAt(columnOf(down, column + 1), speeds[column] * 0.5)) << column;
        EXPECT_TRUE(hasArrowAt(columnOf(up, column + 1), 200 - speeds[column] * 0.5)) << column;
    }
}

TEST(FlowArrows, CoverTheHeightAtEachMoment)
{
    for (const FlowDirection direction : {FlowDirection::down, FlowDirection::up}) {
        for (int tenth = 0; tenth < 100; ++tenth) {
            const std::set<double> column =
                columnOf(flowArrows(direction, {5, 200}, 788'918'400 + tenth / 10.0), 1);
            ASSERT_LE(*column.begin(), 0) << tenth;
            ASSERT_GE(*column.rbegin(), 200) << tenth;
            double before = *column.begin();
            for (auto it = std::next(column.begin()); it != column.end(); ++it) {
                ASSERT_NEAR(*it - before, 44, 1e-6);
                before = *it;
            }
        }
    }
}

TEST(FlowArrows, GetStrongerFromColumnToColumnUpToOpaque)
{
    const QList<FlowArrow> arrows = flowArrows(FlowDirection::down, {70 * 30, 44}, 0);

    EXPECT_DOUBLE_EQ(arrows.first().opacity, 0.18);
    EXPECT_DOUBLE_EQ(arrows.last().opacity, 1);
    for (const FlowArrow &arrow : arrows) {
        ASSERT_LE(arrow.opacity, 1);
    }
}

TEST_F(Flow, NeverMovesAndShowsNothingWhileInactive)
{
    down->setState(true, false);
    up->setActive(false);

    EXPECT_FALSE(down->isMoving());
    EXPECT_FALSE(up->isMoving());
    EXPECT_FALSE(showsArrows());
    EXPECT_EQ(down->accessibleWords(), QStringLiteral("No images are coming in"));
}

TEST_F(Flow, MovesWhileActive)
{
    down->setState(true, true);
    up->setActive(true);

    EXPECT_TRUE(down->isMoving());
    EXPECT_TRUE(up->isMoving());
    QSignalSpy frames(down, &FlowOverlay::frame);
    EXPECT_TRUE(frames.wait(30'000));
    EXPECT_TRUE(showsArrows());
    const QImage before = down->grab().toImage();
    clock.advance(100ms);
    EXPECT_NE(down->grab().toImage(), before);
    EXPECT_EQ(up->accessibleWords(), QStringLiteral("Images are being sent"));
}

TEST_F(Flow, NothingComesInWithoutAListener)
{
    down->setState(false, true);

    EXPECT_FALSE(down->isMoving());
    EXPECT_FALSE(showsArrows());
}

TEST_F(Flow, NeverMovesWhileHidden)
{
    down->setState(true, true);
    down->hide();
    EXPECT_FALSE(down->isMoving());

    down->show();
    EXPECT_TRUE(down->isMoving());
    window.window().hide();
    EXPECT_FALSE(down->isMoving());
}

TEST_F(Flow, StandsWhereLessMotionIsAskedFor)
{
    down->setState(true, true);
    window.theme().setReducedMotion(true);

    EXPECT_FALSE(down->isMoving());
    EXPECT_TRUE(showsArrows());
    const QImage before = down->grab().toImage();
    clock.advance(100ms);
    EXPECT_EQ(down->grab().toImage(), before);
}

TEST_F(Flow, TakesNoMouseAndNoFocus)
{
    EXPECT_TRUE(down->testAttribute(Qt::WA_TransparentForMouseEvents));
    EXPECT_EQ(up->focusPolicy(), Qt::NoFocus);
}

} // namespace
} // namespace gateway::shell
