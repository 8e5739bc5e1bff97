#include "shell/desktop/screen_rules.h"

#include "account/account_view_model.h"
#include "account/cloud_watch.h"
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
    void presentAccount() override { shown.append(u"account"_qs); }
    bool isSetupInTheWay() const override { return isSettingUp; }

    QStringList shown;
    bool isSettingUp = false;
};

struct ScreenRulesTest : account::testing::SessionWorld
{
    ScreenRulesTest()
    {
        service.limit = {1000.0F, 10.0F};
        observer = notifications.observe(
            core::kOpenDashboard, [this](const QVariantMap &) { screens.shown.append(u"dashboard"_qs); });
        preferencesObserver = notifications.observe(
            core::kOpenPreferences, [this](const QVariantMap &) { rules->preferencesAskedFor(); });
    }

    void whenAllIsDone()
    {
        runUntil([this] {
            return !account.terms().isLoading() && !watch.terms().isLoading() &&
                   !watch.status().isChecking() && !watch.storage().isLoading();
        });
        main.drain();
    }

    account::testing::FakeStatusAPI status;
    state::testing::StateWorld live;
    RecordingScreens screens;
    account::CloudWatch watch{
        {status, service, terms, settings, defaults, notifications, main, pool, clock, auth}};
    account::AccountViewModel account{{auth, service, {terms, defaults, main, pool, clock}},
                                      account::TermsSigner::here(u"3.1.0"_qs)};
    platform::NotificationCenter::Token observer;
    platform::NotificationCenter::Token preferencesObserver;
    std::optional<ScreenRules> rules{ScreenRules::Collaborators{.screens = screens,
                                                                .notifications = notifications,
                                                                .main = main,
                                                                .appState = live.state(),
                                                                .cloudWatch = watch,
                                                                .account = account}};
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

TEST_F(ScreenRulesTest, LeadToTheAccountWhoeverWantsToManageIt)
{
    rules->accountAskedFor();
    main.drain();
    EXPECT_EQ(screens.shown, QStringList{u"account"_qs});

    rules->preferencesAskedFor();
    main.drain();
    EXPECT_EQ(screens.shown, (QStringList{u"account"_qs, u"preferences"_qs}));
}

TEST_F(ScreenRulesTest, LeadToTermsThatWaitAfterASignIn)
{
    signIn();
    whenAllIsDone();

    EXPECT_EQ(screens.shown, QStringList{u"account"_qs});
}

TEST_F(ScreenRulesTest, LetPreferencesGiveWayToTermsThatAreRequired)
{
    terms.isAccepted = true;
    signIn();
    whenAllIsDone();
    terms.isAccepted = false;

    rules->preferencesAskedFor();
    rules->termsRequired();
    whenAllIsDone();

    EXPECT_EQ(screens.shown, QStringList{u"account"_qs});
}

TEST_F(ScreenRulesTest, LeadToTheSameTermsOnceHoweverOftenTheyAreRequired)
{
    signIn();
    whenAllIsDone();
    screens.shown.clear();

    for (int upload = 0; upload < 3; ++upload) { // that fails, as each does until they are answered
        rules->preferencesAskedFor();
        rules->termsRequired();
        whenAllIsDone();
    }

    EXPECT_EQ(screens.shown, QStringList());
    rules->preferencesAskedFor();
    main.drain();
    EXPECT_EQ(screens.shown, QStringList{u"preferences"_qs}); // a person decides
}

TEST_F(ScreenRulesTest, LeadToTermsThatChangedAndToThoseOfTheNextWhoSignsIn)
{
    signIn();
    whenAllIsDone();
    terms.requiredVersion = u"3"_qs;
    rules->termsRequired();
    whenAllIsDone();
    EXPECT_EQ(screens.shown, (QStringList{u"account"_qs, u"account"_qs}));

    finish(auth.signOut());
    signIn();
    whenAllIsDone();

    EXPECT_EQ(screens.shown, (QStringList{u"account"_qs, u"account"_qs, u"account"_qs}));
}

TEST_F(ScreenRulesTest, LeaveTheTermsToTheWizardWhileItIsOpen)
{
    screens.isSettingUp = true;
    signIn();
    whenAllIsDone();
    EXPECT_EQ(screens.shown, QStringList());

    screens.isSettingUp = false;
    rules->termsRequired();
    whenAllIsDone();
    EXPECT_EQ(screens.shown, QStringList{u"account"_qs}); // they were left unanswered
}

TEST_F(ScreenRulesTest, ShowNoTermsThatWereAnsweredMeanwhile)
{
    terms.isAccepted = true;
    signIn();

    rules->termsRequired();
    whenAllIsDone();

    EXPECT_TRUE(terms.calls().contains(u"status"_qs));
    EXPECT_EQ(screens.shown, QStringList());
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

TEST_F(ScreenRulesTest, ShowNothingOnceTheyAreGone)
{
    rules->preferencesAskedFor();
    rules->statusItemShown(false);
    rules.reset();
    main.drain();

    EXPECT_EQ(screens.shown, QStringList());
}

} // namespace gateway::shell
