#include "shell/desktop/screen_rules.h"

#include "account/cloud_watch.h"
#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/testing/fake_status_api.h"
#include "account/testing/session_world.h"
#include "core/notification_names.h"
#include "state/testing/state_world.h"

#include <QtCore/QStringList>

#include <optional>

namespace gateway::shell {

namespace {

class RecordingScreens final : public Screens
{
public:
    void presentPreferences() override { shown.append(u"preferences"_qs); }
    void presentTerms() override { shown.append(u"terms"_qs); }
    void tellTermsProblem(const QString &why) override { shown.append(u"problem: "_qs + why); }

    QStringList shown;
};

struct ScreenRulesTest : account::testing::SessionWorld
{
    ScreenRulesTest()
    {
        service.limit = {1000.0F, 10.0F};
        observer = notifications.observe(
            core::kOpenDashboard, [this](const QVariantMap &) { screens.shown.append(u"dashboard"_qs); });
    }

    void whenAllIsDone()
    {
        runUntil([this] {
            return !shownTerms.isLoading() && !watch.terms().isLoading() && !watch.status().isChecking() &&
                   !watch.storage().isLoading();
        });
        main.drain();
    }

    account::testing::FakeStatusAPI status;
    state::testing::StateWorld live;
    RecordingScreens screens;
    account::CloudWatch watch{
        {status, service, terms, settings, defaults, notifications, main, pool, clock, auth}};
    account::GatewayQuorinCloudTermsCoordinator shownTerms{{terms, defaults, main, pool, clock},
                                                           account::TermsSigner::here(u"3.1.0"_qs)};
    platform::NotificationCenter::Token observer;
    std::optional<ScreenRules> rules{ScreenRules::Collaborators{.screens = screens,
                                                                .notifications = notifications,
                                                                .main = main,
                                                                .networkPool = pool,
                                                                .appState = live.state(),
                                                                .auth = auth,
                                                                .cloudWatch = watch,
                                                                .terms = shownTerms}};
};

} // namespace

TEST_F(ScreenRulesTest, LeadToTheDashboardWhereTheDesktopHasNoPlaceForTheStatusItem)
{
    rules->statusItemShown(false);
    EXPECT_EQ(screens.shown, QStringList()); // the launch goes on first

    main.drain();
    EXPECT_EQ(screens.shown, QStringList{u"dashboard"_qs});
}

TEST_F(ScreenRulesTest, LeaveTheDashboardShutBesideAStatusItem)
{
    rules->statusItemShown(true);
    main.drain();

    EXPECT_EQ(screens.shown, QStringList());
}

TEST_F(ScreenRulesTest, LeaveTheSheetForSigningInToTheDashboard)
{
    rules->signInAskedFor();

    EXPECT_TRUE(live.figures().showSignInSheet);
    EXPECT_EQ(screens.shown, QStringList());
}

TEST_F(ScreenRulesTest, ShowThePreferencesOnceHoweverOftenTheyAreAskedFor)
{
    rules->preferencesAskedFor();
    rules->preferencesAskedFor();
    main.drain();

    EXPECT_EQ(screens.shown, QStringList{u"preferences"_qs});
}

TEST_F(ScreenRulesTest, LetPreferencesGiveWayToTermsThatAreRequired)
{
    rules->preferencesAskedFor();
    rules->termsRequired();
    whenAllIsDone();

    EXPECT_EQ(screens.shown, QStringList{u"terms"_qs});
}

TEST_F(ScreenRulesTest, ShowPreferencesAgainAfterTermsTookTheirTurn)
{
    rules->termsRequired();
    whenAllIsDone();
    rules->preferencesAskedFor();
    main.drain();

    EXPECT_EQ(screens.shown, (QStringList{u"terms"_qs, u"preferences"_qs}));
}

TEST_F(ScreenRulesTest, ShowNoTermsThatWereAnsweredMeanwhile)
{
    terms.isAccepted = true;

    rules->termsRequired();
    whenAllIsDone();

    EXPECT_TRUE(terms.calls().contains(u"status"_qs));
    EXPECT_EQ(screens.shown, QStringList());
}

TEST_F(ScreenRulesTest, SayWhyTermsCannotBeShown)
{
    terms.failing = QStringList{u"terms"_qs};
    terms.failure = u"Out of paper."_qs;

    rules->termsRequired();
    whenAllIsDone();

    ASSERT_EQ(screens.shown.size(), 1);
    EXPECT_TRUE(screens.shown.first().startsWith(u"problem: "_qs));
    EXPECT_EQ(screens.shown.first(), u"problem: "_qs + *shownTerms.errorMessage());
}

TEST_F(ScreenRulesTest, LookAtTheTermsAgainOnceTheyAreAccepted)
{
    terms.isAccepted = true;
    signIn();
    whenAllIsDone();
    const auto before = terms.calls().count(u"status"_qs);

    rules->termsAccepted();
    whenAllIsDone();

    EXPECT_GT(terms.calls().count(u"status"_qs), before);
}

TEST_F(ScreenRulesTest, EndTheSessionOfWhoDeclines)
{
    terms.isAccepted = true;
    signIn();
    ASSERT_TRUE(auth.state().isSignedIn());

    rules->termsDeclined();
    runUntil([this] { return !auth.state().isSignedIn(); });

    EXPECT_EQ(auth.standing().state, account::SessionState::signedOut);
    whenAllIsDone();
}

TEST_F(ScreenRulesTest, ShowNothingOnceTheyAreGone)
{
    rules->preferencesAskedFor();
    rules->statusItemShown(false);
    rules.reset();
    main.drain();

    EXPECT_EQ(screens.shown, QStringList());
}

} // namespace gateway::shell
