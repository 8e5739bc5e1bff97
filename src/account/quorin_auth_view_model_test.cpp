#include "account/quorin_auth_view_model.h"

#include "account/testing/auth_world.h"
#include "core/device_id.h"

namespace gateway::account::testing {

using std::chrono::seconds;

TEST_F(QuorinAuth, IsSignedOutBeforeTheFirstLook)
{
    EXPECT_EQ(model.state(), AuthState::signedOut());
    EXPECT_FALSE(model.isChecking());
    EXPECT_FALSE(model.signedInLabel());
    EXPECT_FALSE(model.lastAuthError());
}

TEST_F(QuorinAuth, StaysSignedOutWithoutATokenAndAsksNobody)
{
    refresh();

    EXPECT_EQ(model.state(), AuthState::signedOut());
    EXPECT_TRUE(service.calls().isEmpty());
    EXPECT_EQ(posts, 1);
}

TEST_F(QuorinAuth, SignsInWithTheDeviceAndTheVersionAndShowsTheUser)
{
    EXPECT_TRUE(signIn());

    EXPECT_EQ(model.state(), AuthState::signedIn(kEmail));
    EXPECT_EQ(model.signedInLabel(), kEmail);
    EXPECT_FALSE(model.isChecking());
    EXPECT_EQ(posts, 1);
    ASSERT_TRUE(service.lastLogin);
    EXPECT_EQ(service.lastLogin->platform, QStringLiteral("macOS"));
    EXPECT_EQ(service.lastLogin->deviceId, core::deviceId(defaults));
    EXPECT_EQ(service.lastLogin->device.deviceId, core::deviceId(defaults));
    EXPECT_EQ(service.lastLogin->device.clientVersion, QStringLiteral("3.1.0"));
    EXPECT_FALSE(service.lastLogin->device.pushId);
    EXPECT_EQ(service.calls(),
              (QStringList{QStringLiteral("login"),
                           QStringLiteral("keep"),
                           QStringLiteral("tokenExpiration"),
                           QStringLiteral("getUser")}));
}

TEST_F(QuorinAuth, CallsABuildWithoutAVersionOneZeroZero)
{
    for (const std::optional<QString> &version : {std::optional<QString>(), std::optional(QString())}) {
        QuorinAuthViewModel plain({service, service, settings, defaults, notifications, main, pool, clock},
                                  version);
        finish(plain.signIn(kEmail, kRight));
        EXPECT_EQ(service.lastLogin->device.clientVersion, QStringLiteral("1.0.0"));
    }
}

TEST_F(QuorinAuth, SaysNothingBeforeTheKeyringHasAnsweredAndLooksAtOnceThen)
{
    store.write(QStringLiteral("slow"), R"({"token": "kept", "userId": 42})");
    store.setSilent(true);
    cloud_client::NetworkSettings slow(store, QStringLiteral("slow"));
    slow.waitUntilStored();
    QuorinAuthViewModel early({service, service, slow, defaults, notifications, main, pool, clock},
                              std::nullopt);
    early.startPolling(seconds(60));
    clock.waitForSleepers(1);
    main.drain();
    EXPECT_EQ(early.standing().state, SessionState::notKnownYet);
    EXPECT_EQ(posts, 0);

    store.setSilent(false);
    clock.advance(seconds(60));
    reachPosts(1);

    EXPECT_EQ(early.standing().state, SessionState::signedIn);
    EXPECT_EQ(slow.token(), QStringLiteral("kept"));
    early.close();
}

TEST_F(QuorinAuth, SaysWhenTheKeyringHasNotTakenTheSession)
{
    service.isKept = false;

    EXPECT_TRUE(signIn());

    ASSERT_TRUE(model.signInRemark());
    EXPECT_TRUE(model.signInRemark()->startsWith(QStringLiteral("The keyring has not taken")));
}

TEST_F(QuorinAuth, SaysWhatASignInCouldNotMakeSureOf)
{
    service.uncheckedStatus = 405;
    EXPECT_TRUE(signIn());
    ASSERT_TRUE(model.signInRemark());
    EXPECT_TRUE(model.signInRemark()->contains(QStringLiteral("status 405")));

    service.uncheckedStatus.reset();
    EXPECT_TRUE(signIn());
    EXPECT_FALSE(model.signInRemark());
}

TEST_F(QuorinAuth, LeavesTheStateAloneWhenSigningInFails)
{
    EXPECT_FALSE(signIn(QStringLiteral("wrong")));

    EXPECT_EQ(model.lastAuthError(), service.refusal);
    EXPECT_EQ(model.state(), AuthState::signedOut());
    EXPECT_FALSE(model.isChecking());
    EXPECT_EQ(posts, 0);
}

TEST_F(QuorinAuth, UsesItsOwnWordsWhenTheServiceRefusesWithoutAny)
{
    service.refusal.reset();

    EXPECT_FALSE(signIn(QStringLiteral("wrong")));

    EXPECT_EQ(model.lastAuthError(),
              QStringLiteral("Sign in failed. Please check your credentials and try again."));
}

TEST_F(QuorinAuth, PrefersTheWorkplaceThenTheEmailThenTheNumberAsLabel)
{
    service.user.workplaceName = QStringLiteral("East Clinic");
    signIn();
    EXPECT_EQ(model.signedInLabel(), QStringLiteral("East Clinic"));

    service.user.workplaceName.reset();
    refresh();
    EXPECT_EQ(model.signedInLabel(), kEmail);
}

TEST_F(QuorinAuth, LabelsAUserWithoutWorkplaceAndEmailByTheNumber)
{
    service.user.email.reset();

    signIn();

    EXPECT_EQ(model.signedInLabel(), QStringLiteral("User #42"));
}

TEST_F(QuorinAuth, TakesANewPasswordWhileTheOldOneIsRefused)
{
    signIn();
    service.refusesCredentials = true;
    refresh();
    service.refusesCredentials = false;

    EXPECT_TRUE(signIn());

    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::signedIn}));
}

TEST_F(QuorinAuth, SaysWhenTheAccountCannotBeLoaded)
{
    service.knowsUser = false;

    EXPECT_TRUE(signIn());

    EXPECT_EQ(model.state(), AuthState::signedIn(std::nullopt));
    EXPECT_EQ(model.lastAuthError(), QStringLiteral("Unable to load account details."));
}

TEST_F(QuorinAuth, RefusesASignInWhileAnotherRuns)
{
    service.hold(QStringLiteral("login"));
    const auto first = model.signIn(kEmail, kRight);
    EXPECT_TRUE(model.isChecking());

    EXPECT_FALSE(signIn(QStringLiteral("wrong")));
    EXPECT_FALSE(model.lastAuthError());
    EXPECT_TRUE(model.isChecking());
    service.release();
    finish(first);

    EXPECT_EQ(service.calls().count(QStringLiteral("login")), 1);
    EXPECT_EQ(model.state(), AuthState::signedIn(kEmail));
}

TEST_F(QuorinAuth, SignsNobodyInWhoGaveItUp)
{
    signIn();
    const std::optional<QString> before = settings.token();
    posts = 0;
    service.hold(QStringLiteral("login"));
    const auto attempt = model.signIn(QStringLiteral("bob@site.example"), kRight);
    reach(QStringLiteral("login"), 2);

    model.cancelSignIn();
    EXPECT_FALSE(model.isChecking());
    service.release();

    EXPECT_FALSE(resultOf(model.signIn(kEmail, QStringLiteral("wrong")))); // may begin at once
    finish(attempt);
    EXPECT_EQ(settings.token(), before);
    EXPECT_EQ(posts, 0);
    EXPECT_EQ(model.state(), AuthState::signedIn(kEmail));
}

TEST_F(QuorinAuth, GivesNothingUpOnceTheSessionIsBeingKept)
{
    service.hold(QStringLiteral("keep"));
    const auto attempt = model.signIn(kEmail, kRight);
    reach(QStringLiteral("keep"), 1);

    model.cancelSignIn();
    EXPECT_TRUE(model.isChecking());
    service.release();
    finish(attempt);

    EXPECT_TRUE(settings.token());
    EXPECT_EQ(model.state(), AuthState::signedIn(kEmail)) << "and everybody says so";
}

TEST_F(QuorinAuth, GivesNothingUpWhereNobodySignsIn)
{
    signIn();
    service.hold(QStringLiteral("logout"));
    const auto leaving = model.signOut();

    model.cancelSignIn();
    EXPECT_TRUE(model.isChecking());
    service.release();
    finish(leaving);

    EXPECT_EQ(model.state(), AuthState::signedOut());
}

TEST_F(QuorinAuth, RefusesASignInWhileASignOutRuns)
{
    signIn();
    service.hold(QStringLiteral("logout"));
    const auto leaving = model.signOut();

    EXPECT_FALSE(signIn());
    EXPECT_EQ(model.state(), AuthState::signedIn(kEmail));
    service.release();
    finish(leaving);

    EXPECT_EQ(service.calls().count(QStringLiteral("login")), 1);
    EXPECT_EQ(model.state(), AuthState::signedOut());
}

TEST_F(QuorinAuth, SignsOutAndForgetsTheMessage)
{
    signIn();
    service.isOffline = true;
    refresh();
    service.isOffline = false;
    posts = 0;

    finish(model.signOut());

    EXPECT_EQ(model.state(), AuthState::signedOut());
    EXPECT_FALSE(model.lastAuthError());
    EXPECT_FALSE(settings.token());
    EXPECT_EQ(posts, 1);
}

TEST_F(QuorinAuth, TellsWhoGaveOutTheTokensAfterASignOutThatWaitsForNobody)
{
    settings.setToken(QStringLiteral("by a code"), QStringLiteral("r1"));
    service.hold(QStringLiteral("revoke"));

    finish(model.signOut());

    EXPECT_FALSE(model.isChecking());
    EXPECT_EQ(model.state(), AuthState::signedOut());
    EXPECT_FALSE(settings.refreshToken(QStringLiteral("by a code")));
    runUntil([this] { return service.calls().contains(QStringLiteral("revoke")); });
    service.release();
    EXPECT_EQ(service.revoked, std::pair(QStringLiteral("by a code"), QStringLiteral("r1")));
    EXPECT_FALSE(model.lastAuthError());
}

TEST_F(QuorinAuth, SaysNothingOfTokensThatCannotBeTakenBack)
{
    settings.setToken(QStringLiteral("by a code"), QStringLiteral("r1"));
    service.isOffline = true;

    finish(model.signOut());
    model.close();

    EXPECT_EQ(model.state(), AuthState::signedOut());
    EXPECT_EQ(model.lastAuthError(), service.offlineWords) << "that of the sign-out itself";
}

TEST_F(QuorinAuth, SignsOutWithoutNetworkAndLeavesTheMessage)
{
    signIn();
    service.isOffline = true;

    finish(model.signOut());

    EXPECT_EQ(model.state(), AuthState::signedOut());
    EXPECT_EQ(model.lastAuthError(), QStringLiteral("The cloud can't be reached."));
    EXPECT_FALSE(settings.token());
    EXPECT_FALSE(settings.userId());
    EXPECT_FALSE(model.isChecking());
}

TEST_F(QuorinAuth, DoesNotEndANewSessionByTheAnswerToAnOldOne)
{
    signIn();
    service.endedToken = settings.token();
    service.hold(QStringLiteral("tokenExpiration"));
    const auto look = model.refresh(false);
    reach(QStringLiteral("tokenExpiration"), 2);
    posts = 0;

    settings.setToken(QStringLiteral("another"));
    service.release();
    finish(look);

    EXPECT_EQ(settings.token(), QStringLiteral("another"));
    EXPECT_EQ(model.state(), AuthState::signedIn(kEmail));
    EXPECT_EQ(posts, 1);
}

TEST_F(QuorinAuth, ShowsNobodyAsSignedInWhoSignedOutDuringALook)
{
    signIn();
    service.hold(QStringLiteral("getUser"));
    const auto look = model.refresh(false);
    reach(QStringLiteral("getUser"), 2);

    finish(model.signOut());
    service.release();
    finish(look);

    EXPECT_EQ(model.state(), AuthState::signedOut());
    EXPECT_FALSE(model.signedInLabel());
}

TEST_F(QuorinAuth, TellsItsViewsWhatChangesAndLetsThemClearTheMessage)
{
    int changes = 0;
    QObject::connect(&model, &QuorinAuthViewModel::changed, &model, [&changes] { ++changes; });
    signIn(QStringLiteral("wrong"));
    EXPECT_GE(changes, 3);
    changes = 0;

    model.clearLastAuthError();
    model.clearLastAuthError();

    EXPECT_FALSE(model.lastAuthError());
    EXPECT_EQ(changes, 1);
}

TEST_F(QuorinAuth, EndsItsPollAndRefusesNewWorkOnceClosed)
{
    signIn();
    model.startPolling(seconds(60));
    reachPosts(2);
    clock.waitForSleepers(1);
    posts = 0;

    model.close();
    refresh(true);

    EXPECT_FALSE(signIn());
    EXPECT_EQ(posts, 0);
}

TEST_F(QuorinAuth, IsDrainedWhenItDiesInTheMiddleOfASignIn)
{
    service.hold(QStringLiteral("login"));
    {
        QuorinAuthViewModel brief({service, service, settings, defaults, notifications, main, pool, clock},
                                  std::nullopt);
        static_cast<void>(brief.signIn(kEmail, kRight));
        reach(QStringLiteral("login"), 1);
        service.release();
    }

    EXPECT_TRUE(service.lastLogin);
}

TEST(AuthState, IsEqualWhenBothNamesAreAbsentOrTheSame)
{
    EXPECT_EQ(AuthState::signedIn(std::nullopt), AuthState::signedIn(std::nullopt));
    EXPECT_EQ(AuthState::signedIn(kEmail), AuthState::signedIn(kEmail));
    EXPECT_NE(AuthState::signedIn(kEmail), AuthState::signedIn(std::nullopt));
    EXPECT_NE(AuthState::signedIn(std::nullopt), AuthState::signedOut());
}

} // namespace gateway::account::testing
