#include "account/cloud_watch.h"

#include "account/testing/fake_status_api.h"
#include "account/testing/session_world.h"
#include "core/notification_names.h"

namespace gateway::account::testing {

namespace {

const QString kStorage = QStringLiteral("quorinCloudStorageLimit");

struct CloudWatchTest : testing::SessionWorld
{
    CloudWatchTest()
    {
        terms.isAccepted = true;
        service.limit = {1000.0F, 10.0F};
    }

    ~CloudWatchTest() override
    {
        status.hold(false);
        release();
    }

    void release()
    {
        terms.release();
        service.release();
    }

    void look() { finish(watch.look()); }

    void settle()
    {
        runUntil([this] {
            return !watch.status().isChecking() && !watch.storage().isLoading() && !watch.terms().isLoading();
        });
    }

    FakeStatusAPI status;
    CloudWatch watch{{status, service, terms, settings, defaults, notifications, main, pool, clock, auth}};
};

} // namespace

TEST_F(CloudWatchTest, KnowsWhetherTheCloudAnswersAsSoonAsItWasAsked)
{
    EXPECT_FALSE(watch.isOnline());
    look();
    EXPECT_EQ(watch.isOnline(), true);

    status.isAway = true;
    look();
    EXPECT_EQ(watch.isOnline(), false);

    status.isAway = false;
    look();
    EXPECT_TRUE(watch.status().isOnline());
}

TEST_F(CloudWatchTest, KeepsNobodyWaitingForACloudThatDoesNotAnswer)
{
    status.hold(true);
    const auto looking = watch.look();
    clock.waitForSleepers(1);
    EXPECT_FALSE(looking.isReady());

    clock.advance(CloudWatch::kGracePeriod);
    finish(looking);

    EXPECT_TRUE(watch.status().isChecking());
}

TEST_F(CloudWatchTest, WaitsForThePingThatIsUnderWay)
{
    status.hold(true);
    const auto first = watch.look();
    const auto second = watch.look();
    clock.waitForSleepers(2);

    status.hold(false);
    finish(first);
    finish(second);

    EXPECT_TRUE(watch.status().isOnline());
    EXPECT_EQ(status.pings, 1);
}

TEST_F(CloudWatchTest, PingsAtOnceWhenAnUploadReachesACloudThatCountedAsAway)
{
    status.isAway = true;
    look();
    status.isAway = false;

    watch.cloudAnswered();
    settle();

    EXPECT_TRUE(watch.status().isOnline());
}

TEST_F(CloudWatchTest, DoesNotPingForEachUploadWhileTheCloudIsThere)
{
    look();

    watch.cloudAnswered();
    watch.cloudAnswered();
    settle();

    EXPECT_EQ(status.pings, 1);
}

TEST_F(CloudWatchTest, PingsWhenTheSessionWasVerifiedWithACloudThatCountedAsAway)
{
    status.isAway = true;
    look();
    status.isAway = false;

    signIn();
    settle();

    EXPECT_TRUE(watch.status().isOnline());
}

TEST_F(CloudWatchTest, ReadsTheStorageFiguresAtTheSignInAndForgetsThemAtTheSignOut)
{
    signIn();
    settle();
    EXPECT_EQ(watch.storage().storageUsage(), (StorageUsage{1000.0, 10.0}));

    finish(auth.signOut());
    settle();

    EXPECT_FALSE(watch.storage().storageUsage());
    EXPECT_EQ(service.calls().count(kStorage), 1);
}

TEST_F(CloudWatchTest, ReadsTheStorageFiguresOnceHoweverOftenTheSessionIsLookedAt)
{
    signIn();
    settle();

    finish(auth.refresh(false));
    settle();

    EXPECT_EQ(service.calls().count(kStorage), 1);
}

TEST_F(CloudWatchTest, KnowsNothingOfTermsWhileNobodyIsSignedIn)
{
    notifications.post(core::kQuorinCloudTermsRequired);
    settle();

    EXPECT_FALSE(watch.areTermsRequired());
    EXPECT_TRUE(terms.calls().isEmpty());
}

TEST_F(CloudWatchTest, KnowsWhetherTermsMustBeAcceptedOnceSomebodySignsIn)
{
    signIn();
    runUntil([this] { return watch.areTermsRequired().has_value(); });
    EXPECT_EQ(watch.areTermsRequired(), false);

    terms.isAccepted = false;
    notifications.post(core::kQuorinCloudTermsRequired);
    runUntil([this] { return watch.areTermsRequired() == true; });
    EXPECT_EQ(watch.terms().termsVersion(), QStringLiteral("2"));

    terms.isAccepted = true;
    watch.checkTerms();
    runUntil([this] { return watch.areTermsRequired() == false; });
    finish(auth.signOut());
    EXPECT_FALSE(watch.areTermsRequired());
}

TEST_F(CloudWatchTest, KnowsNothingOfTermsThatCannotBeChecked)
{
    terms.failing = {QStringLiteral("status")};

    signIn();
    runUntil([this] { return watch.terms().errorMessage().has_value(); });

    EXPECT_FALSE(watch.areTermsRequired());
}

TEST_F(CloudWatchTest, LooksFromTimeToTime)
{
    watch.start();
    runUntil([this] { return watch.status().lastCheckedAt() && !watch.status().isChecking(); });
    clock.waitForSleepers(2);

    clock.advance(CloudWatch::kStatusPoll);
    runUntil([this] { return status.pings == 2; });
    settle();

    watch.close();
    EXPECT_EQ(status.pings, 2);
}

} // namespace gateway::account::testing
