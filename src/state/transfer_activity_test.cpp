// The transfer activity as GatewayAppState publishes it.

#include "state/testing/state_world.h"

#include <QtCore/QLocale>

#include <gtest/gtest.h>

#include <limits>

namespace gateway::state {

namespace {

using namespace std::chrono_literals;
using Counts = std::vector<std::int64_t>;
using Field = GatewayField;
using Fields = std::vector<GatewayField>;

const QTimeZone kBerlin("Europe/Berlin");

class Activity : public ::testing::Test
{
protected:
    void createImage(const QDateTime &at) { world.index.images.push_back({at}); }

    void createSentImage(const QDateTime &at, const QDateTime &uploaded)
    {
        world.index.images.push_back({at, 1, uploaded});
    }

    static Counts withLast(std::size_t size, std::int64_t last)
    {
        Counts counts(size);
        counts.back() = last;
        return counts;
    }

    const Counts &received() { return world.figures().transferReceivedSeries; }
    const Counts &sent() { return world.figures().transferSentSeries; }

    testing::StateWorld world; // at noon in UTC
};

using Rebuild = Activity;
using Counting = Activity;
using Timeframes = Activity;
using Zooming = Activity;

} // namespace

// --- Rebuild -----------------------------------------------------------------------------------------

TEST_F(Rebuild, CountsWhatCameAndWentInEachBucketOfTheWindow)
{
    const QDateTime noon = world.clock.now();
    createImage(noon);
    createImage(noon.addSecs(-3600));
    createSentImage(noon.addSecs(-2 * 3600), noon.addSecs(-60));

    GatewayAppState &state = world.launch();

    EXPECT_EQ(received().size(), 24u);
    EXPECT_EQ(received()[23], 1);
    EXPECT_EQ(received()[22], 1);
    EXPECT_EQ(received()[21], 1);
    EXPECT_EQ(sent()[22], 1);
    EXPECT_EQ(world.figures().transferWindowStart, noon.addSecs(-23 * 3600));
    EXPECT_EQ(state.bucketDuration(), 1h);
}

TEST_F(Rebuild, CountsAnImageUploadedInTheWindowButCreatedBeforeItAsSentOnly)
{
    const QDateTime noon = world.clock.now();
    createSentImage(noon.addDays(-3), noon);

    world.launch();

    EXPECT_EQ(received(), Counts(24));
    EXPECT_EQ(sent(), withLast(24, 1));
}

TEST_F(Rebuild, LeavesATimeJustAtTheEndOut)
{
    createImage(world.clock.now().addSecs(3600));
    createImage(world.clock.now().addMSecs(3'599'999));

    world.launch();

    EXPECT_EQ(received(), withLast(24, 1));
}

TEST_F(Rebuild, DropsAnImageFromSentThatIsNoLongerSynced)
{
    createSentImage(world.clock.now(), world.clock.now());
    GatewayAppState &state = world.launch();
    EXPECT_EQ(sent(), withLast(24, 1));

    world.index.images.back().syncState = 2;
    state.refreshTransferSeries();

    EXPECT_EQ(sent(), Counts(24));
    EXPECT_EQ(received(), withLast(24, 1));
}

TEST_F(Rebuild, PublishesReceivedSentAndTheStartInThisOrder)
{
    GatewayAppState &state = world.launch();
    world.clock.advance(2h);
    createSentImage(world.clock.now(), world.clock.now());

    state.refreshTransferSeries();

    EXPECT_EQ(world.published(),
              (Fields{Field::transferReceivedSeries, Field::transferSentSeries, Field::transferWindowStart}));
}

TEST_F(Rebuild, ShowsThePresentInTheLastBucketThroughBothNightsOnWhichTheClockIsSet)
{
    for (const QDateTime &midnight : {QDateTime(QDate(2026, 3, 28), QTime(22, 0), Qt::UTC),
                                      QDateTime(QDate(2026, 10, 24), QTime(20, 0), Qt::UTC)}) {
        for (const TransferTimeframe timeframe : kTransferTimeframes) {
            testing::StateWorld night(kBerlin);
            night.clock.advance(std::chrono::seconds(night.clock.now().secsTo(midnight)));
            GatewayAppState &state = night.launch();
            state.setTransferTimeframe(timeframe);
            for (int i = 0; i < 60; ++i) {
                night.clock.advance(31min);
                night.index.images = {{night.clock.now()}};
                const std::int64_t before = [&] {
                    state.refreshTransferSeries();
                    return state.figures().transferReceivedSeries.back();
                }();
                ASSERT_EQ(before, 1) << night.clock.now().toString().toStdString();
                state.recordReceivedItem();
                ASSERT_EQ(state.figures().transferReceivedSeries.back(), 2);
            }
        }
    }
}

// --- Counting in place -------------------------------------------------------------------------------

TEST_F(Counting, AddsToTheCurrentBucketWithoutAQuery)
{
    GatewayAppState &state = world.launch();
    const int fetches = world.index.fetches;

    for (int i = 0; i < 3; ++i) {
        state.recordReceivedItem();
    }

    EXPECT_EQ(received(), withLast(24, 3));
    EXPECT_EQ(sent(), Counts(24));
    EXPECT_EQ(world.index.fetches, fetches);
    EXPECT_EQ(world.published(), (Fields(3, Field::transferReceivedSeries)));
}

TEST_F(Counting, RollsTheWindowForwardFirst)
{
    GatewayAppState &state = world.launch();
    state.recordReceivedItem();
    const QDateTime start = world.figures().transferWindowStart;
    world.clock.advance(2h);

    state.recordReceivedItem();

    Counts expected(24);
    expected[21] = 1;
    expected[23] = 1;
    EXPECT_EQ(received(), expected);
    EXPECT_EQ(world.figures().transferWindowStart, start.addSecs(2 * 3600));
}

TEST_F(Counting, AfterMoreBucketsThanAreVisibleBeginsWithAClearWindow)
{
    createSentImage(world.clock.now(), world.clock.now());
    GatewayAppState &state = world.launch();
    world.clock.advance(25h);

    state.recordReceivedItem();

    EXPECT_EQ(received(), withLast(24, 1));
    EXPECT_EQ(sent(), Counts(24));
    EXPECT_EQ(world.figures().transferWindowStart, world.clock.now().addSecs(-23 * 3600));
}

TEST_F(Counting, OfAnItemWhoseRowsComeLaterIsTakenOverByTheNextRebuild)
{
    GatewayAppState &state = world.launch();
    state.recordReceivedItem();
    createImage(world.clock.now());

    state.refreshTransferSeries();

    EXPECT_EQ(received(), withLast(24, 1)) << "not twice";
}

TEST_F(Counting, BehindANightOnWhichTheClockWasSetForwardBuildsAnew)
{
    testing::StateWorld night(kBerlin);
    const QDateTime evening(QDate(2026, 3, 29), QTime(21, 30), Qt::UTC); // 23:30 of a day of 23 hours
    night.clock.advance(std::chrono::seconds(night.clock.now().secsTo(evening)));
    GatewayAppState &state = night.launch();
    state.setTransferTimeframe(TransferTimeframe::oneMonth);
    night.index.images = {{night.clock.now()}};
    state.refreshTransferSeries();

    night.clock.advance(1h);
    state.recordReceivedItem();

    EXPECT_EQ(state.figures().transferReceivedSeries[29], 1) << "the new day has the new item alone";
    EXPECT_EQ(state.figures().transferReceivedSeries[28], 1);
}

// --- Timeframes --------------------------------------------------------------------------------------

TEST_F(Timeframes, AreChosenWithTheirUsualCountAndBuiltAnew)
{
    createImage(world.clock.now());
    GatewayAppState &state = world.launch();

    state.setTransferTimeframe(TransferTimeframe::oneWeek);

    EXPECT_EQ(world.figures().transferTimeframe, TransferTimeframe::oneWeek);
    EXPECT_EQ(world.figures().transferVisibleBucketCount, 28);
    EXPECT_EQ(received(), withLast(28, 1));
    EXPECT_EQ(sent(), Counts(28));
    EXPECT_EQ(world.published(),
              (Fields{Field::transferTimeframe,
                      Field::transferVisibleBucketCount,
                      Field::transferReceivedSeries,
                      Field::transferSentSeries,
                      Field::transferReceivedSeries,
                      Field::transferWindowStart}));
}

TEST_F(Timeframes, OfTheSameKindWithItsUsualCountChangeNothing)
{
    GatewayAppState &state = world.launch();
    const int fetches = world.index.fetches;

    state.setTransferTimeframe(TransferTimeframe::oneDay);

    EXPECT_EQ(world.index.fetches, fetches);
    EXPECT_EQ(world.published(), Fields());
}

TEST_F(Timeframes, OfTheSameKindWithAZoomedCountResetTheZoomAndClearTheAccumulator)
{
    GatewayAppState &state = world.launch();
    state.applyTransferZoom(8 + 7);
    EXPECT_EQ(world.figures().transferVisibleBucketCount, 22);

    state.setTransferTimeframe(TransferTimeframe::oneDay);
    EXPECT_EQ(world.figures().transferVisibleBucketCount, 24);
    state.applyTransferZoom(7);

    EXPECT_EQ(world.figures().transferVisibleBucketCount, 24) << "the seven units of before are gone";
}

TEST_F(Timeframes, AreToldByHowFarTheyLookBack)
{
    QLocale::setDefault(QLocale(QStringLiteral("en_US")));
    GatewayAppState &state = world.launch();
    EXPECT_EQ(state.transferRangeTitle(), QStringLiteral("Last 1d"));

    state.applyTransferZoom(-8);
    EXPECT_EQ(state.transferRangeTitle(), QStringLiteral("Last 1d 2h"));
    state.setTransferTimeframe(TransferTimeframe::oneMonth);

    EXPECT_EQ(state.transferRangeTitle(), QStringLiteral("Last 30d"));
}

// --- Zoom --------------------------------------------------------------------------------------------

TEST_F(Zooming, BySevenUnitsDoesNothingAndOneMoreMakesOneStep)
{
    GatewayAppState &state = world.launch();

    state.applyTransferZoom(7);
    EXPECT_EQ(world.published(), Fields());
    state.applyTransferZoom(1);

    EXPECT_EQ(world.figures().transferVisibleBucketCount, 22);
    EXPECT_EQ(world.figures().transferZoomRevision, 1);
    EXPECT_EQ(received().size(), 22u);
    EXPECT_EQ(sent().size(), 22u);
}

TEST_F(Zooming, PublishesTheCountTheRevisionAndTheSeries)
{
    GatewayAppState &state = world.launch();

    state.applyTransferZoom(-8);

    EXPECT_EQ(world.published(),
              (Fields{Field::transferVisibleBucketCount,
                      Field::transferZoomRevision,
                      Field::transferReceivedSeries,
                      Field::transferSentSeries,
                      Field::transferWindowStart}));
}

TEST_F(Zooming, AtTheLimitPublishesNothingAndRaisesNoRevision)
{
    GatewayAppState &state = world.launch();
    state.applyTransferZoom(8'000);
    EXPECT_EQ(world.figures().transferVisibleBucketCount, 8);
    world.published();

    state.applyTransferZoom(8);

    EXPECT_EQ(world.published(), Fields());
    EXPECT_EQ(world.figures().transferZoomRevision, 1);
}

TEST_F(Zooming, AtACountOfFiveMovesByExactlyOne)
{
    GatewayAppState &state = world.launch();
    state.setTransferTimeframe(TransferTimeframe::fourHours);
    state.applyTransferZoom(8'000);
    ASSERT_EQ(world.figures().transferVisibleBucketCount, 5);

    state.applyTransferZoom(-8);

    EXPECT_EQ(world.figures().transferVisibleBucketCount, 6);
}

TEST_F(Zooming, ByNothingOrByNoNumberDoesNothing)
{
    GatewayAppState &state = world.launch();
    state.applyTransferZoom(7);

    state.applyTransferZoom(0);
    state.applyTransferZoom(std::numeric_limits<double>::quiet_NaN());
    state.applyTransferZoom(std::numeric_limits<double>::infinity());
    EXPECT_EQ(world.published(), Fields());
    state.applyTransferZoom(1);

    EXPECT_EQ(world.figures().transferVisibleBucketCount, 22) << "the seven units stand";
}

} // namespace gateway::state
