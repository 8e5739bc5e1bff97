// The card over the real live figures, on a manual clock.

#include "shell/dashboard/chart/summary_pill.h"
#include "shell/dashboard/chart/time_range_button.h"
#include "shell/dashboard/chart/transfer_line_chart.h"
#include "shell/dashboard/chart/transfer_trend_card.h"
#include "shell/dashboard/testing/shown_figures.h"
#include "shell/testing/themed_window.h"
#include "shell/testing/wheel.h"
#include "state/testing/state_world.h"

#include <QtTest/QTest>
#include <QtWidgets/QMenu>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using namespace std::chrono_literals;
using state::TransferTimeframe;
using testing::ThemedWindow;

/// The card in a shown window, over live figures.
class BoundTrend : public ::testing::Test
{
protected:
    void SetUp() override
    {
        world.index.images.push_back({world.clock.now()});
        live = &world.launch();
        card = &window.add(new TransferTrendCard(window.theme(), [this] { return world.timeZone; }));
        bind(*card, *live);
        ASSERT_TRUE(window.show());
    }

    void wheel(int notches) { testing::turnWheelOver(card->chart(), {0, 120 * notches}); }

    std::int64_t receivedSum() const { return card->pills()[0]->pill().value; }
    std::size_t buckets() const { return card->chart().chart().received.size(); }

    state::testing::StateWorld world;
    state::GatewayAppState *live = nullptr;
    ThemedWindow window;
    TransferTrendCard *card = nullptr;
};

TEST_F(BoundTrend, ShowsTheFiguresAtOnce)
{
    EXPECT_EQ(receivedSum(), 1);
    EXPECT_EQ(buckets(), 24u);
    EXPECT_EQ(card->timeRange().rangeTitle(), live->transferRangeTitle());
    EXPECT_EQ(card->chart().chart().windowStart, live->figures().transferWindowStart);
}

TEST_F(BoundTrend, ShowsAReceivedImageInTheBucketOfNow)
{
    world.clock.advance(1h);
    live->recordReceivedItem();
    QCoreApplication::processEvents();

    EXPECT_EQ(receivedSum(), 2);
    EXPECT_EQ(card->chart().chart().received[23], 1);
    EXPECT_EQ(card->chart().chart().received[22], 1);
}

TEST_F(BoundTrend, MoreBucketsThanAreVisibleLeaveAnEmptyWindow)
{
    world.clock.advance(25h);
    live->recordReceivedItem();
    QCoreApplication::processEvents();

    EXPECT_EQ(receivedSum(), 1);
    EXPECT_EQ(card->chart().chart().received.back(), 1);
    EXPECT_EQ(card->chart().chart().windowStart, world.clock.now().addSecs(-23 * 3600));
}

TEST_F(BoundTrend, ScrollingUpNarrowsTheWindowAndDownWidensIt)
{
    wheel(1);
    testing::showFigures();
    EXPECT_EQ(buckets(), 22u);
    EXPECT_EQ(card->timeRange().rangeTitle(), QStringLiteral("Last 22h"));

    wheel(-3);
    testing::showFigures();
    EXPECT_GT(buckets(), 22u);
}

TEST_F(BoundTrend, ZoomingAtTheLimitDoesNotFlicker)
{
    wheel(100);
    ASSERT_EQ(buckets(), 8u);
    const std::int64_t revision = live->figures().transferZoomRevision;
    window.theme().setReducedMotion(false);

    wheel(10);

    EXPECT_EQ(live->figures().transferZoomRevision, revision);
    EXPECT_EQ(card->zoomTransitionOpacity(), 1);
}

TEST_F(BoundTrend, AZoomStepFlickers)
{
    window.theme().setReducedMotion(false);
    wheel(1);

    EXPECT_EQ(card->zoomTransitionOpacity(), 0.82);
    EXPECT_TRUE(QTest::qWaitFor([this] { return card->zoomTransitionOpacity() == 1; }, 30'000));
}

TEST_F(BoundTrend, ChoosingATimeframeShowsItAndChoosingItAgainUndoesTheZoom)
{
    const QList<QAction *> actions = card->timeRange().menu()->actions();
    actions[3]->trigger();
    testing::showFigures();
    EXPECT_EQ(live->figures().transferTimeframe, TransferTimeframe::oneWeek);
    EXPECT_EQ(buckets(), 28u);
    EXPECT_TRUE(actions[3]->isChecked());
    EXPECT_FALSE(actions[3]->icon().isNull());
    EXPECT_TRUE(actions[2]->icon().isNull());

    wheel(2);
    testing::showFigures();
    ASSERT_LT(buckets(), 28u);
    actions[3]->trigger();
    testing::showFigures();

    EXPECT_EQ(buckets(), 28u);
    EXPECT_TRUE(actions[3]->isChecked());
}

TEST_F(BoundTrend, FollowsNobodyOnceTheCardIsGone)
{
    delete card;

    live->recordReceivedItem();
    QCoreApplication::processEvents();

    EXPECT_EQ(live->figures().transferReceivedSeries.back(), 2);
}

} // namespace
} // namespace gateway::shell
