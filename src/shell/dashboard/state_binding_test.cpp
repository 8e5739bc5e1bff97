// The widgets over the real live figures, on a manual clock.

#include "shell/dashboard/state_binding.h"

#include "shell/dashboard/flow_overlay.h"
#include "shell/dashboard/summary_pill.h"
#include "shell/dashboard/testing/shown_figures.h"
#include "shell/dashboard/time_range_button.h"
#include "shell/dashboard/transfer_line_chart.h"
#include "shell/dashboard/transfer_trend_card.h"
#include "shell/dashboard/upload_speed_value_label.h"
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
class Bound : public ::testing::Test
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

TEST_F(Bound, ShowsTheFiguresAtOnce)
{
    EXPECT_EQ(receivedSum(), 1);
    EXPECT_EQ(buckets(), 24u);
    EXPECT_EQ(card->timeRange().rangeTitle(), live->transferRangeTitle());
    EXPECT_EQ(card->chart().chart().windowStart, live->figures().transferWindowStart);
}

TEST_F(Bound, ShowsAReceivedImageInTheBucketOfNow)
{
    world.clock.advance(1h);
    live->recordReceivedItem();
    QCoreApplication::processEvents();

    EXPECT_EQ(receivedSum(), 2);
    EXPECT_EQ(card->chart().chart().received[23], 1);
    EXPECT_EQ(card->chart().chart().received[22], 1);
}

TEST_F(Bound, MoreBucketsThanAreVisibleLeaveAnEmptyWindow)
{
    world.clock.advance(25h);
    live->recordReceivedItem();
    QCoreApplication::processEvents();

    EXPECT_EQ(receivedSum(), 1);
    EXPECT_EQ(card->chart().chart().received.back(), 1);
    EXPECT_EQ(card->chart().chart().windowStart, world.clock.now().addSecs(-23 * 3600));
}

TEST_F(Bound, ScrollingUpNarrowsTheWindowAndDownWidensIt)
{
    wheel(1);
    testing::showFigures();
    EXPECT_EQ(buckets(), 22u);
    EXPECT_EQ(card->timeRange().rangeTitle(), QStringLiteral("Last 22h"));

    wheel(-3);
    testing::showFigures();
    EXPECT_GT(buckets(), 22u);
}

TEST_F(Bound, ZoomingAtTheLimitDoesNotFlicker)
{
    wheel(100);
    ASSERT_EQ(buckets(), 8u);
    const std::int64_t revision = live->figures().transferZoomRevision;
    window.theme().setReducedMotion(false);

    wheel(10);

    EXPECT_EQ(live->figures().transferZoomRevision, revision);
    EXPECT_EQ(card->zoomTransitionOpacity(), 1);
}

TEST_F(Bound, AZoomStepFlickers)
{
    window.theme().setReducedMotion(false);
    wheel(1);

    EXPECT_EQ(card->zoomTransitionOpacity(), 0.82);
    EXPECT_TRUE(QTest::qWaitFor([this] { return card->zoomTransitionOpacity() == 1; }, 30'000));
}

TEST_F(Bound, ChoosingATimeframeShowsItAndChoosingItAgainUndoesTheZoom)
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

TEST_F(Bound, FollowsNobodyOnceTheCardIsGone)
{
    delete card;

    live->recordReceivedItem();
    QCoreApplication::processEvents();

    EXPECT_EQ(live->figures().transferReceivedSeries.back(), 2);
}

TEST_F(Bound, TheDownArrowsFlowWhileAnAssociationIsOpen)
{
    window.theme().setReducedMotion(false);
    auto &overlay = window.add(new DownArrowFlowOverlay(window.theme(), world.clock));
    overlay.show();
    live->syncListeningState();
    bind(overlay, *live);
    EXPECT_FALSE(overlay.isMoving());

    live->beginReceiveAssociation(QStringLiteral("a"));
    testing::showFigures();
    EXPECT_TRUE(overlay.isMoving());
    live->endReceiveAssociation(QStringLiteral("a"));
    testing::showFigures();

    EXPECT_FALSE(overlay.isMoving());
}

TEST_F(Bound, TheUpArrowsAndTheSpeedFollowTheUpload)
{
    window.theme().setReducedMotion(false);
    auto &overlay = window.add(new UpArrowFlowOverlay(window.theme(), world.clock));
    auto &label = window.add(new UploadSpeedValueLabel(window.theme()));
    overlay.show();
    bind(overlay, *live);
    bind(label, *live);
    EXPECT_FALSE(overlay.isMoving());
    EXPECT_EQ(label.text(), QStringLiteral("--"));

    live->recordUploadThroughput(2'500'000, 1s);
    testing::showFigures();
    EXPECT_TRUE(overlay.isMoving());
    EXPECT_EQ(label.text(), QStringLiteral("20.0 Mbps"));
    live->resetUploadSpeed();
    testing::showFigures();

    EXPECT_FALSE(overlay.isMoving());
    EXPECT_EQ(label.text(), QStringLiteral("--"));
}

} // namespace
} // namespace gateway::shell
