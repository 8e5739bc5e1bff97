#include "account/quorin_cloud_storage_limit_view_model.h"

#include "account/testing/account_world.h"

namespace gateway::account::testing {

namespace {

using std::chrono::seconds;

const QString kCall = QStringLiteral("quorinCloudStorageLimit");
const StorageUsage kFirst{1000.0, 250.5};

struct QuorinCloudStorageLimit : AccountWorld
{
    QuorinCloudStorageLimit()
    {
        settings.setToken(QStringLiteral("ann"));
        service.limit = {1000.0F, 250.5F};
    }

    ~QuorinCloudStorageLimit() override { service.release(); }

    void refresh() { finish(model.refresh()); }

    /// Runs the main thread until `count` readings have ended and the poll sleeps again.
    void sleepAfterReadings(int count)
    {
        runUntil([&] { return readings() >= count && !model.isLoading(); });
        clock.waitForSleepers(1);
    }

    qsizetype readings() const { return service.calls().count(kCall); }

    QuorinCloudStorageLimitViewModel model{{service, settings, main, pool, clock}};
};

} // namespace

TEST_F(QuorinCloudStorageLimit, KnowsNothingBeforeTheFirstReading)
{
    EXPECT_FALSE(model.storageUsage());
    EXPECT_FALSE(model.isLoading());
    EXPECT_FALSE(model.lastError());
}

TEST_F(QuorinCloudStorageLimit, ReadsTheAllowanceAndWhatIsUsedOfIt)
{
    refresh();

    EXPECT_EQ(model.storageUsage(), kFirst);
    EXPECT_FALSE(model.isLoading());
    EXPECT_FALSE(model.lastError());
}

TEST_F(QuorinCloudStorageLimit, AsksNobodyWithoutASessionAndKnowsNothingThen)
{
    service.isOffline = true;
    refresh();
    EXPECT_TRUE(model.lastError());

    settings.setToken(std::nullopt);
    refresh();

    EXPECT_EQ(readings(), 1);
    EXPECT_FALSE(model.storageUsage());
    EXPECT_FALSE(model.lastError());
}

TEST_F(QuorinCloudStorageLimit, LosesItsFiguresAtTheNextTurnAfterASignOut)
{
    model.startPolling(seconds(60));
    sleepAfterReadings(1);
    ASSERT_EQ(model.storageUsage(), kFirst);

    settings.setToken(std::nullopt);
    clock.advance(seconds(59));
    main.drain();
    EXPECT_EQ(model.storageUsage(), kFirst);
    clock.advance(seconds(1));
    runUntil([this] { return !model.storageUsage(); });

    EXPECT_EQ(readings(), 1);
}

TEST_F(QuorinCloudStorageLimit, LosesItsFiguresAtOnceWhenAskedToLookAfterASignOut)
{
    refresh();
    settings.setToken(std::nullopt);

    refresh();

    EXPECT_FALSE(model.storageUsage());
}

TEST_F(QuorinCloudStorageLimit, KeepsTheLastFiguresWhenAReadingFails)
{
    refresh();
    service.isOffline = true;

    refresh();

    EXPECT_EQ(model.storageUsage(), kFirst);
    EXPECT_EQ(model.lastError(), QStringLiteral("The cloud can't be reached."));
    EXPECT_FALSE(model.isLoading());
}

TEST_F(QuorinCloudStorageLimit, ForgetsTheFailureAtTheNextGoodReading)
{
    service.isOffline = true;
    refresh();
    service.isOffline = false;

    refresh();

    EXPECT_FALSE(model.lastError());
}

TEST_F(QuorinCloudStorageLimit, ReadsOnceForTwoRefreshesAtATime)
{
    service.hold(kCall);
    const auto first = model.refresh();
    EXPECT_TRUE(model.isLoading());
    const auto second = model.refresh();

    EXPECT_TRUE(second.isReady());
    service.release();
    finish(first);
    EXPECT_EQ(readings(), 1);
}

TEST_F(QuorinCloudStorageLimit, ShowsNobodyTheFiguresOfASessionThatIsOver)
{
    service.limitOf = {{QStringLiteral("bob"), {500.0F, 20.0F}}};
    service.hold(kCall);
    const auto reading = model.refresh();
    reach(kCall, 1);

    settings.setToken(QStringLiteral("bob"));
    service.release();
    finish(reading);

    EXPECT_EQ(model.storageUsage(), (StorageUsage{500.0, 20.0}));
    EXPECT_EQ(readings(), 2);
}

TEST_F(QuorinCloudStorageLimit, DropsAnAnswerThatComesAfterTheSignOut)
{
    service.hold(kCall);
    const auto reading = model.refresh();
    reach(kCall, 1);

    settings.setToken(std::nullopt);
    service.release();
    finish(reading);

    EXPECT_FALSE(model.storageUsage());
    EXPECT_FALSE(model.isLoading());
}

TEST_F(QuorinCloudStorageLimit, DropsTheFiguresOfAnotherUserWhenOnesOwnCannotBeRead)
{
    refresh();
    settings.setToken(QStringLiteral("bob"));
    service.isOffline = true;

    refresh();

    EXPECT_FALSE(model.storageUsage());
}

TEST_F(QuorinCloudStorageLimit, PollsWithTheFirstIntervalHoweverOftenItIsStarted)
{
    model.startPolling(seconds(60));
    model.startPolling(seconds(1));
    sleepAfterReadings(1);

    clock.advance(seconds(59));
    main.drain();
    EXPECT_EQ(readings(), 1);
    clock.advance(seconds(1));
    sleepAfterReadings(2);

    EXPECT_EQ(readings(), 2);
}

TEST_F(QuorinCloudStorageLimit, ReadsNoMoreOnceClosed)
{
    model.close();

    refresh();

    EXPECT_EQ(readings(), 0);
}

} // namespace gateway::account::testing
