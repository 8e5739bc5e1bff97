#include "account/quorin_cloud_status_view_model.h"

#include "account/testing/account_world.h"
#include "account/testing/fake_status_api.h"

namespace gateway::account::testing {

namespace {

using std::chrono::seconds;

struct QuorinCloudStatus : AccountWorld
{
    ~QuorinCloudStatus() override { api.hold(false); }

    void refresh() { finish(model.refresh()); }

    /// Runs the main thread until `count` pings have ended and the poll sleeps again.
    void sleepAfterPings(int count)
    {
        runUntil([&] { return api.pings >= count && !model.isChecking(); });
        clock.waitForSleepers(1);
    }

    FakeStatusAPI api;
    QuorinCloudStatusViewModel model{{api, main, pool, clock}};
};

} // namespace

TEST_F(QuorinCloudStatus, IsUnreachableBeforeTheFirstPing)
{
    EXPECT_FALSE(model.isOnline());
    EXPECT_FALSE(model.lastCheckedAt());
    EXPECT_EQ(model.statusText(), QStringLiteral("Quorin Cloud Unreachable"));
    EXPECT_FALSE(model.detailText());
}

TEST_F(QuorinCloudStatus, IsConnectedAfterAPingThatSucceeded)
{
    refresh();

    EXPECT_TRUE(model.isOnline());
    EXPECT_EQ(model.lastCheckedAt(), clock.now());
    EXPECT_FALSE(model.lastError());
    EXPECT_EQ(model.statusText(), QStringLiteral("Connected to Quorin Cloud"));
}

TEST_F(QuorinCloudStatus, TellsWhenItCheckedLastInTheWordsOfTheLocale)
{
    refresh();

    const QLocale english(QLocale::English, QLocale::UnitedStates);
    EXPECT_EQ(model.detailText(english),
              QStringLiteral("Last checked ") +
                  english.toString(clock.now().toLocalTime(), QStringLiteral("d MMM, h:mm AP")));
    EXPECT_TRUE(model.detailText(english)->contains(QStringLiteral(" Jan, ")));
}

TEST_F(QuorinCloudStatus, MovesTheTimeOfTheLastCheckOnFailuresTooAndShowsItOnlineOnly)
{
    refresh();
    clock.advance(seconds(30));
    api.isAway = true;

    refresh();

    EXPECT_FALSE(model.isOnline());
    EXPECT_EQ(model.lastCheckedAt(), clock.now());
    EXPECT_EQ(model.lastError(), QStringLiteral("AFError 7: Nobody answers."));
    EXPECT_EQ(model.statusText(), QStringLiteral("Quorin Cloud Unreachable"));
    EXPECT_EQ(model.detailText(), QStringLiteral("Nobody answers."));
}

TEST_F(QuorinCloudStatus, ForgetsTheFailureOnceTheCloudIsBack)
{
    api.isAway = true;
    refresh();
    api.isAway = false;

    refresh();

    EXPECT_TRUE(model.isOnline());
    EXPECT_FALSE(model.lastError());
}

TEST_F(QuorinCloudStatus, SaysThatItChecksWhileAnyPingRunsOnAGoodConnectionToo)
{
    refresh();
    api.hold(true);
    const auto task = model.refresh();

    EXPECT_TRUE(model.isChecking());
    EXPECT_TRUE(model.isOnline());
    EXPECT_EQ(model.statusText(), QStringLiteral("Checking Quorin Cloud…"));
    api.hold(false);
    finish(task);

    EXPECT_EQ(model.statusText(), QStringLiteral("Connected to Quorin Cloud"));
}

TEST_F(QuorinCloudStatus, PingsOnceForTwoRefreshesAtATime)
{
    api.hold(true);
    const auto first = model.refresh();
    const auto second = model.refresh();

    EXPECT_TRUE(second.isReady());
    api.hold(false);
    finish(first);
    EXPECT_EQ(api.pings, 1);
}

TEST_F(QuorinCloudStatus, PollsWithTheFirstIntervalHoweverOftenItIsStarted)
{
    model.startPolling(seconds(30));
    model.startPolling(seconds(1));
    sleepAfterPings(1);

    clock.advance(seconds(29));
    main.drain();
    EXPECT_EQ(api.pings, 1);
    clock.advance(seconds(1));
    sleepAfterPings(2);

    EXPECT_EQ(api.pings, 2);
}

TEST_F(QuorinCloudStatus, DoesNotRetryAFailedPingEarlierThanTheNextTurn)
{
    api.isAway = true;
    model.startPolling(seconds(30));
    sleepAfterPings(1);

    clock.advance(seconds(29));
    main.drain();

    EXPECT_EQ(api.pings, 1);
    EXPECT_FALSE(model.isOnline());
}

TEST_F(QuorinCloudStatus, TellsItsViewsWhenAPingBeginsAndEnds)
{
    int changes = 0;
    QObject::connect(&model, &QuorinCloudStatusViewModel::changed, &model, [&changes] { ++changes; });

    refresh();

    EXPECT_EQ(changes, 2);
}

TEST_F(QuorinCloudStatus, PingsNoMoreOnceClosed)
{
    model.startPolling(seconds(30));
    sleepAfterPings(1);

    model.close();
    refresh();

    EXPECT_EQ(api.pings, 1);
}

TEST_F(QuorinCloudStatus, IsDrainedWhenItDiesInTheMiddleOfAPing)
{
    api.hold(true);
    {
        QuorinCloudStatusViewModel brief({api, main, pool, clock});
        static_cast<void>(brief.refresh());
        runUntil([this] { return api.pings == 1; });
        api.hold(false);
    }

    EXPECT_EQ(api.pings, 1);
}

} // namespace gateway::account::testing
