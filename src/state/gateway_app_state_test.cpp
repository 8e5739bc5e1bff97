#include "state/gateway_app_state.h"

#include "core/notification_names.h"
#include "state/testing/state_world.h"
#include "state/update_banner.h"

#include <QtCore/QFile>

#include <gtest/gtest.h>

#include <limits>

namespace gateway::state {

namespace {

using namespace std::chrono_literals;
using Field = GatewayField;
using Fields = std::vector<GatewayField>;
using Seconds = std::chrono::duration<double>;

class AppState : public ::testing::Test
{
protected:
    void add(int count, int syncState)
    {
        for (int i = 0; i < count; ++i) {
            world.index.images.push_back({world.clock.now(), syncState});
        }
    }

    /// Lets the figure's sleeper see that the clock moved, until it sleeps again or has reset the figure.
    void advanceWithSpeedArmed(std::chrono::milliseconds duration)
    {
        world.clock.waitForSleepers(1);
        world.clock.advance(duration);
        QCoreApplication::processEvents();
    }

    testing::StateWorld world;
};

using Counters = AppState;
using Receiving = AppState;
using Speed = AppState;
using Banner = AppState;
using Storage = AppState;

} // namespace

// --- Counters ----------------------------------------------------------------------------------------

TEST_F(Counters, BeginWithTheInitialFieldsOfALaunch)
{
    world.isListening = false;

    const GatewayFigures &figures = world.figures();

    EXPECT_FALSE(figures.showSignInSheet);
    EXPECT_FALSE(figures.dimseAlertMessage);
    EXPECT_FALSE(figures.isDimseListening);
    EXPECT_FALSE(figures.isReceivingNow);
    EXPECT_EQ(figures.transferTimeframe, TransferTimeframe::oneDay);
    EXPECT_EQ(figures.transferVisibleBucketCount, 24);
    EXPECT_EQ(figures.transferZoomRevision, 0);
    EXPECT_EQ(figures.transferReceivedSeries, std::vector<std::int64_t>(24));
    EXPECT_EQ(figures.transferSentSeries, std::vector<std::int64_t>(24));
    EXPECT_EQ(figures.receivedStorageUsage, ReceivedStorageUsage());
    EXPECT_EQ(figures.uploadSpeedMbps, 0);
    EXPECT_FALSE(figures.updateBannerMessage);
}

TEST_F(Counters, AreReadAtConstructionWithTheSeriesAndTheListener)
{
    add(2, 0);
    add(1, 1);
    world.index.parents = {1, 2, 0};

    const GatewayFigures &figures = world.figures();

    EXPECT_EQ(figures.receivedImagesCount, 3);
    EXPECT_EQ(figures.receivedStudiesCount, 1);
    EXPECT_EQ(figures.receivedSeriesCount, 2);
    EXPECT_EQ(figures.notSyncedImagesCount, 2);
    EXPECT_EQ(figures.syncedImagesCount, 1);
    EXPECT_EQ(figures.notSyncedStudiesCount, 1);
    EXPECT_EQ(figures.notSyncedSeriesCount, 2);
    EXPECT_EQ(figures.transferReceivedSeries.back(), 3);
    EXPECT_TRUE(figures.isDimseListening);
}

TEST_F(Counters, OfAnEmptyIndexAreZeroAndEachRefreshResetsTheUploadSpeed)
{
    GatewayAppState &state = world.state();
    bool isMeasured = false;
    state.whenStorageIsMeasured([&] { isMeasured = true; });
    world.runUntil([&] { return isMeasured; });
    const GatewayFigures &figures = world.figures();
    for (const std::int64_t counter : {figures.receivedImagesCount,
                                       figures.receivedStudiesCount,
                                       figures.receivedSeriesCount,
                                       figures.notSyncedImagesCount,
                                       figures.notSyncedStudiesCount,
                                       figures.notSyncedSeriesCount,
                                       figures.syncedImagesCount,
                                       figures.failedImagesCount}) {
        EXPECT_EQ(counter, 0);
    }
    EXPECT_EQ(figures.receivedStorageUsage.usedBytes, 0);
    EXPECT_GT(world.figures().receivedStorageUsage.availableBytes, 0) << "the volume's room";

    for (int i = 0; i < 2; ++i) {
        state.recordUploadThroughput(1'000'000, 1s);
        EXPECT_EQ(world.figures().uploadSpeedMbps, 8);
        state.refreshCounters();
        EXPECT_EQ(world.figures().uploadSpeedMbps, 0);
    }
}

TEST_F(Counters, ShowAFailedImageAsFailedAsNotSyncedAndAsReceivedAtOnce)
{
    add(1, 2);

    EXPECT_EQ(world.figures().failedImagesCount, 1);
    EXPECT_EQ(world.figures().notSyncedImagesCount, 1);
    EXPECT_EQ(world.figures().receivedImagesCount, 1);
}

TEST_F(Counters, ArePublishedInTheirOrder)
{
    GatewayAppState &state = world.launch();
    world.published();
    add(2, 2);
    add(1, 1);
    world.index.parents = {1, 2, 0};

    state.refreshCounters();

    EXPECT_EQ(world.published(),
              (Fields{Field::notSyncedStudiesCount,
                      Field::notSyncedSeriesCount,
                      Field::notSyncedImagesCount,
                      Field::receivedStudiesCount,
                      Field::receivedSeriesCount,
                      Field::syncedImagesCount,
                      Field::receivedImagesCount,
                      Field::failedImagesCount}));
}

TEST_F(Counters, ThatStayAsTheyAreTellNobody)
{
    add(2, 0);
    GatewayAppState &state = world.launch();

    state.refreshCounters();

    EXPECT_EQ(world.published(), Fields());
}

TEST_F(Counters, FollowTheSyncStatesOfTheIndexTogetherWithTheSeries)
{
    world.launch();
    add(1, 1);
    world.index.images.back().uploadDate = world.clock.now();

    world.notifications.post(core::kLocalSyncStateChanged);

    EXPECT_EQ(world.figures().syncedImagesCount, 1);
    EXPECT_EQ(world.figures().transferSentSeries.back(), 1);
}

TEST_F(Counters, AreReadOnTheMainThreadWhereverTheNotificationIsPosted)
{
    world.launch();
    add(1, 0);

    std::thread([this] { world.notifications.post(core::kLocalSyncStateChanged); }).join();
    EXPECT_EQ(world.figures().notSyncedImagesCount, 0);
    world.main.drain();

    EXPECT_EQ(world.figures().notSyncedImagesCount, 1);
}

TEST_F(Counters, AreNotReadForAnObjectThatHasGone)
{
    world.launch();
    const int before = world.index.countings;
    std::thread([this] { world.notifications.post(core::kLocalSyncStateChanged); }).join();

    world.destroy();
    world.main.drain();
    world.notifications.post(core::kLocalSyncStateChanged);

    EXPECT_EQ(world.index.countings, before);
}

// --- Receiving ---------------------------------------------------------------------------------------

TEST_F(Receiving, LastsWhileAnAssociationIsOpen)
{
    GatewayAppState &state = world.launch();

    state.beginReceiveAssociation(QStringLiteral("a"));
    state.beginReceiveAssociation(QStringLiteral(" b\n"));
    state.endReceiveAssociation(QStringLiteral("a"));
    EXPECT_TRUE(world.figures().isReceivingNow);
    EXPECT_EQ(state.openReceiveAssociations(), 1);
    state.endReceiveAssociation(QStringLiteral("b"));

    EXPECT_FALSE(world.figures().isReceivingNow);
    EXPECT_EQ(world.published(), (Fields{Field::isReceivingNow, Field::isReceivingNow}));
}

TEST_F(Receiving, TakesAssociationsWithAnEmptyOrBlankIdentifierForOneSoThatOneEndEndsTwo)
{
    GatewayAppState &state = world.launch();
    state.beginReceiveAssociation(QString());
    state.beginReceiveAssociation(QStringLiteral(" \n"));
    EXPECT_TRUE(world.figures().isReceivingNow);

    state.endReceiveAssociation(QStringLiteral("__default_assoc__"));

    EXPECT_EQ(state.openReceiveAssociations(), 0);
    EXPECT_FALSE(world.figures().isReceivingNow);
}

TEST_F(Receiving, EndsWhenTheListenerStopsWhileAssociationsAreOpen)
{
    GatewayAppState &state = world.launch();
    state.beginReceiveAssociation(QStringLiteral("a"));
    state.beginReceiveAssociation(QStringLiteral("b"));

    state.setListening(false);
    world.notifications.post(core::kStoreListenerStateChanged);

    EXPECT_FALSE(world.figures().isDimseListening);
    EXPECT_FALSE(world.figures().isReceivingNow);
    EXPECT_EQ(state.openReceiveAssociations(), 0);
}

TEST_F(Receiving, EndsWithAllAssociationsAtOnce)
{
    GatewayAppState &state = world.launch();
    state.beginReceiveAssociation(QStringLiteral("a"));

    state.clearReceiveAssociations();

    EXPECT_FALSE(world.figures().isReceivingNow);
    EXPECT_TRUE(world.figures().isDimseListening);
}

// --- Upload speed ------------------------------------------------------------------------------------

TEST_F(Speed, IsTheFirstSampleAsItIsAndSmoothedThereafter)
{
    add(1, 0);
    GatewayAppState &state = world.launch();

    state.recordUploadThroughput(1'000'000, 1s);
    EXPECT_DOUBLE_EQ(world.figures().uploadSpeedMbps, 8);
    advanceWithSpeedArmed(1200ms);
    state.recordUploadThroughput(2'000'000, 1s);

    EXPECT_DOUBLE_EQ(world.figures().uploadSpeedMbps, 8 * 0.65 + 16 * 0.35);
    EXPECT_EQ(world.published(), (Fields{Field::uploadSpeedMbps, Field::uploadSpeedMbps}));
}

TEST_F(Speed, IsNotMovedByASampleOfNoBytesOrNoTimeAndNeitherIsItsEnd)
{
    add(1, 0);
    GatewayAppState &state = world.launch();
    state.recordUploadThroughput(1'000'000, 1s);

    advanceWithSpeedArmed(7999ms);
    state.recordUploadThroughput(0, 1s);
    state.recordUploadThroughput(1'000'000, 0s);
    state.recordUploadThroughput(1'000'000, -1s);
    state.recordUploadThroughput(1'000'000, Seconds(std::numeric_limits<double>::quiet_NaN()));
    state.recordUploadThroughput(1'000'000, Seconds(std::numeric_limits<double>::denorm_min()));
    EXPECT_DOUBLE_EQ(world.figures().uploadSpeedMbps, 8);
    advanceWithSpeedArmed(1ms);

    world.runUntil([this] { return world.figures().uploadSpeedMbps == 0; });
}

TEST_F(Speed, StandsStillForASecondSampleWithinTwelveTenthsButLivesAnotherEightSeconds)
{
    add(1, 0);
    GatewayAppState &state = world.launch();
    state.recordUploadThroughput(1'000'000, 1s);

    advanceWithSpeedArmed(1199ms);
    state.recordUploadThroughput(9'000'000, 1s);
    EXPECT_DOUBLE_EQ(world.figures().uploadSpeedMbps, 8);

    advanceWithSpeedArmed(6801ms); // eight seconds after the first sample: the sleeper looks and sleeps on
    world.clock.waitForSleepers(1);
    EXPECT_DOUBLE_EQ(world.figures().uploadSpeedMbps, 8);
    advanceWithSpeedArmed(1198ms);
    EXPECT_DOUBLE_EQ(world.figures().uploadSpeedMbps, 8);
    advanceWithSpeedArmed(1ms);
    world.runUntil([this] { return world.figures().uploadSpeedMbps == 0; });
}

TEST_F(Speed, FallsToZeroAfterEightSecondsAndTakesTheNextSampleUnsmoothed)
{
    add(1, 0);
    GatewayAppState &state = world.launch();
    state.recordUploadThroughput(1'000'000, 1s);
    advanceWithSpeedArmed(8s);
    world.runUntil([this] { return world.figures().uploadSpeedMbps == 0; });

    state.recordUploadThroughput(3'000'000, 1s);

    EXPECT_DOUBLE_EQ(world.figures().uploadSpeedMbps, 24);
}

TEST_F(Speed, DropsToZeroAtOnceWhenNothingIsLeftToSend)
{
    add(1, 0);
    GatewayAppState &state = world.launch();
    state.recordUploadThroughput(1'000'000, 1s);

    world.index.images.back().syncState = 1;
    world.notifications.post(core::kLocalSyncStateChanged);

    EXPECT_EQ(world.figures().uploadSpeedMbps, 0);
}

TEST_F(Speed, OfAResetFigureIsNotEndedByTheSleeperOfTheOneBefore)
{
    add(1, 0);
    GatewayAppState &state = world.launch();
    state.recordUploadThroughput(1'000'000, 1s);
    world.clock.waitForSleepers(1);
    state.resetUploadSpeed();
    state.recordUploadThroughput(2'000'000, 1s);

    world.clock.advance(7s);
    QCoreApplication::processEvents();

    EXPECT_DOUBLE_EQ(world.figures().uploadSpeedMbps, 16);
}

TEST_F(Speed, GoesWithTheObjectWhileItsEndIsAwaited)
{
    add(1, 0);
    world.launch().recordUploadThroughput(1'000'000, 1s);
    world.clock.waitForSleepers(1);

    world.destroy();

    EXPECT_EQ(world.published(), Fields{Field::uploadSpeedMbps});
}

// --- What others show --------------------------------------------------------------------------------

TEST_F(Banner, IsTrimmedAndABlankOneIsNone)
{
    GatewayAppState &state = world.launch();

    state.setUpdateBannerMessage(QStringLiteral("  Update \n"));
    EXPECT_EQ(world.figures().updateBannerMessage, QStringLiteral("Update"));
    state.setUpdateBannerMessage(QStringLiteral(" \n"));
    EXPECT_EQ(world.figures().updateBannerMessage, std::nullopt);
    state.setUpdateBannerMessage(std::nullopt);

    EXPECT_EQ(world.published(), (Fields{Field::updateBannerMessage, Field::updateBannerMessage}));
}

TEST_F(Banner, NamesTheUpdateByItsDisplayVersionElseByItsVersion)
{
    EXPECT_EQ(updateAvailableBanner(QStringLiteral("2.1 (Winter)"), QStringLiteral("210")),
              QStringLiteral("Update available: Quorin Gateway 2.1 (Winter). Choose Check for Updates…"));
    EXPECT_EQ(updateAvailableBanner(QStringLiteral(" 2.2\n"), QStringLiteral("220")),
              QStringLiteral("Update available: Quorin Gateway 2.2. Choose Check for Updates…"));
    EXPECT_EQ(updateAvailableBanner(QStringLiteral(" "), QStringLiteral("210")),
              QStringLiteral("Update available: Quorin Gateway 210. Choose Check for Updates…"));
    EXPECT_EQ(criticalUpdateBanner(), QStringLiteral("Critical update available. Install update now."));
    EXPECT_EQ(
        installsOnQuitBanner(),
        QStringLiteral("A new Quorin Gateway version is available. Updates install automatically on quit."));
    EXPECT_EQ(longUncheckedBanner(),
              QStringLiteral("Quorin Gateway has not checked for updates for over 30 days. "
                             "Please connect to the internet."));
}

TEST_F(Banner, AndTheOtherSlotsTellWhenTheyAreSet)
{
    GatewayAppState &state = world.launch();

    state.setShowSignInSheet(true);
    state.setDimseAlertMessage(QStringLiteral("port taken"));
    state.setInboxFigures({.setAside = 2});
    state.setStoreOutOfSight(true);

    EXPECT_EQ(world.figures().inbox.setAside, 2);
    EXPECT_TRUE(world.figures().isStoreOutOfSight);
    EXPECT_TRUE(world.figures().showSignInSheet);
    EXPECT_EQ(world.figures().dimseAlertMessage, QStringLiteral("port taken"));
    EXPECT_EQ(
        world.published(),
        (Fields{Field::showSignInSheet, Field::dimseAlertMessage, Field::inbox, Field::isStoreOutOfSight}));
}

// --- Storage -----------------------------------------------------------------------------------------

TEST_F(Storage, IsMeasuredForEachRefreshOfTheCounters)
{
    GatewayAppState &state = world.launch();
    bool isMeasured = false;
    state.whenStorageIsMeasured([&] { isMeasured = true; });
    world.runUntil([&] { return isMeasured; });
    QFile file(world.index.fileStoreRoot() + QStringLiteral("/1.dcm"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(QByteArray(100'000, 'x')), 100'000);
    file.close();

    state.refreshCounters();
    world.clock.waitForSleepers(1); // a second after the last one
    world.clock.advance(1s);
    world.runUntil([&] { return world.figures().receivedStorageUsage.usedBytes >= 100'000; });
}

} // namespace gateway::state
