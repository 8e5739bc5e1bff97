#include "account/quorin_auth_view_model.h"

#include "account/testing/account_world.h"
#include "core/device_id.h"
#include "core/notification_names.h"

namespace gateway::account::testing {

namespace {

using platform::NotificationCenter;
using std::chrono::seconds;

const QString kEmail = QStringLiteral("ann@site.example");
const QString kRight = QStringLiteral("right");

struct QuorinAuth : AccountWorld
{
    QuorinAuth()
    {
        service.user.email = kEmail;
        token = notifications.observe(core::kAuthStateChanged, [this](const QVariantMap &) {
            ++posts;
            EXPECT_TRUE(main.isCurrent());
        });
    }

    ~QuorinAuth() override { service.release(); }

    /// Runs the main thread until the notification was posted `count` times in all.
    void reachPosts(int count)
    {
        runUntil([&] { return posts >= count; });
    }

    bool signIn(const QString &password = kRight) { return resultOf(model.signIn(kEmail, password)); }

    void refresh(bool force = false) { finish(model.refresh(force)); }

    QuorinAuthViewModel model{{service, service, settings, defaults, notifications, main, pool, clock},
                              QStringLiteral("3.1.0")};
    NotificationCenter::Token token;
    int posts = 0;
};

} // namespace

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
    EXPECT_EQ(
        service.calls(),
        (QStringList{QStringLiteral("login"), QStringLiteral("tokenExpiration"), QStringLiteral("getUser")}));
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

TEST_F(QuorinAuth, EndsTheSessionThatTheServiceRefusesDuringAPollAndPostsOnce)
{
    signIn();
    service.endedToken = settings.token();
    posts = 0;

    model.startPolling(seconds(60));
    reachPosts(1);
    clock.waitForSleepers(1);
    main.drain();

    EXPECT_EQ(model.state(), AuthState::signedOut());
    EXPECT_FALSE(settings.token());
    EXPECT_FALSE(settings.userId());
    EXPECT_FALSE(model.signedInLabel());
    EXPECT_EQ(model.lastAuthError(), service.sessionEnd);
    EXPECT_EQ(posts, 1);
}

TEST_F(QuorinAuth, SaysThatTheSessionExpiredWhenTheServiceEndsItWithoutWords)
{
    signIn();
    service.endedToken = settings.token();
    service.sessionEnd.reset();

    refresh();

    EXPECT_EQ(model.lastAuthError(), QStringLiteral("Session expired. Please sign in again."));
}

TEST_F(QuorinAuth, TellsASessionThatTheCloudEndedFromOneThatAPersonEnded)
{
    EXPECT_EQ(model.standing().state, SessionState::notKnownYet);
    signIn();
    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::signedIn}));
    service.endedToken = settings.token();

    refresh();
    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::ended, clock.now()}));
    const QDateTime endedAt = clock.now();
    clock.advance(seconds(60));
    refresh();
    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::ended, endedAt}));

    finish(model.signOut());
    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::signedOut}));
}

TEST_F(QuorinAuth, KeepsRefusedCredentialsAndUsesThemAgainOnceTheyWork)
{
    signIn();
    service.refusesCredentials = true;

    refresh();

    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::credentialsRefused, clock.now()}));
    EXPECT_EQ(model.state(), AuthState::signedIn(kEmail));
    EXPECT_TRUE(settings.token());
    ASSERT_TRUE(model.lastAuthError());
    EXPECT_TRUE(model.lastAuthError()->startsWith(QStringLiteral("The archive refuses")));

    service.refusesCredentials = false;
    clock.advance(seconds(60));
    refresh();

    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::signedIn}));
    EXPECT_FALSE(model.lastAuthError());
}

TEST_F(QuorinAuth, TriesRefusedCredentialsAfterPausesThatGrowToAQuarterOfAnHour)
{
    signIn();
    service.refusesCredentials = true;
    refresh();
    const QDateTime since = clock.now();
    const auto tries = [this] { return service.calls().count(QStringLiteral("tokenExpiration")); };
    const auto before = tries();
    posts = 0;

    QList<int> minutes;
    for (int minute = 1; minute <= 60; ++minute) {
        const auto soFar = tries();
        clock.advance(seconds(60));
        refresh();
        if (tries() > soFar) {
            minutes.append(minute);
        }
    }

    EXPECT_EQ(minutes, (QList<int>{1, 3, 7, 14, 28, 43, 58}));
    EXPECT_EQ(tries() - before, 7);
    EXPECT_EQ(posts, 60);
    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::credentialsRefused, since}));
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

TEST_F(QuorinAuth, KeepsTheSessionWithoutALabelWhileThereIsNoNetwork)
{
    signIn();
    service.isOffline = true;
    posts = 0;

    refresh();

    EXPECT_EQ(model.state(), AuthState::signedIn(std::nullopt));
    EXPECT_FALSE(model.signedInLabel());
    EXPECT_EQ(model.lastAuthError(), QStringLiteral("The cloud can't be reached."));
    EXPECT_TRUE(settings.token());
    EXPECT_EQ(posts, 1);
}

TEST_F(QuorinAuth, APollWithoutNetworkKeepsTheTokenThatUploadsGoBy)
{
    signIn();
    model.startPolling(seconds(60));
    reachPosts(2);
    clock.waitForSleepers(1);
    service.isOffline = true;

    clock.advance(seconds(60));
    reachPosts(3);

    EXPECT_EQ(model.state(), AuthState::signedIn(std::nullopt));
    EXPECT_FALSE(model.signedInLabel());
    EXPECT_TRUE(settings.token());
    EXPECT_TRUE(settings.userId());
}

TEST_F(QuorinAuth, UsesItsOwnWordsForAFaultWithoutAny)
{
    signIn();
    service.isOffline = true;
    service.offlineWords = QStringLiteral("(null)");
    service.hold(QStringLiteral("getUser"));
    const auto task = model.refresh(false);
    runUntil([this] { return model.lastAuthError().has_value(); });

    EXPECT_EQ(model.lastAuthError(), QStringLiteral("Unable to verify account session."));
    service.release();
    finish(task);
    EXPECT_EQ(model.lastAuthError(), QStringLiteral("Unable to load account details."));
    finish(model.signOut());
    EXPECT_EQ(model.lastAuthError(), QStringLiteral("Sign out failed. Local session was cleared."));
    EXPECT_EQ(model.state(), AuthState::signedOut());
}

TEST_F(QuorinAuth, LeavesNoTraceOfAFaultThatPassedBetweenItsTwoQuestions)
{
    signIn();
    service.isOffline = true;
    service.hold(QStringLiteral("getUser"));
    const auto task = model.refresh(false);
    while (!model.lastAuthError()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    reach(QStringLiteral("getUser"), 2);

    service.isOffline = false;
    service.release();
    finish(task);

    EXPECT_FALSE(model.lastAuthError());
    EXPECT_EQ(model.state(), AuthState::signedIn(kEmail));
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

TEST_F(QuorinAuth, NeitherWaitsNorPostsForAPlainRefreshDuringARunningOne)
{
    signIn();
    posts = 0;
    service.hold(QStringLiteral("getUser"));
    const auto running = model.refresh(false);
    reach(QStringLiteral("tokenExpiration"), 2);

    const auto second = model.refresh(false);

    EXPECT_TRUE(second.isReady());
    EXPECT_EQ(posts, 0);
    service.release();
    finish(running);
    EXPECT_EQ(posts, 1);
}

TEST_F(QuorinAuth, RunsAForcedRefreshBesideARunningOne)
{
    signIn();
    posts = 0;
    service.hold(QStringLiteral("tokenExpiration"));
    const auto plain = model.refresh(false);
    const auto forced = model.refresh(true);
    reach(QStringLiteral("tokenExpiration"), 3);

    service.release();
    finish(plain);
    finish(forced);

    EXPECT_EQ(posts, 2);
}

TEST_F(QuorinAuth, PollsWithTheFirstIntervalHoweverOftenItIsStarted)
{
    model.startPolling(seconds(60));
    model.startPolling(seconds(5));
    clock.waitForSleepers(1);
    EXPECT_EQ(posts, 1);

    clock.advance(seconds(59));
    main.drain();
    EXPECT_EQ(posts, 1);
    clock.advance(seconds(1));
    reachPosts(2);
    clock.waitForSleepers(1);
    main.drain();

    EXPECT_EQ(posts, 2);
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
