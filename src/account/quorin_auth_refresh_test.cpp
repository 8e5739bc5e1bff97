// How a session is looked at again while it lasts, and what ends it.
#include "account/testing/auth_world.h"

namespace gateway::account::testing {

using std::chrono::seconds;

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

TEST_F(QuorinAuth, TellsWhyASessionEndedThatTheRefusalHasEndedAlready)
{
    signIn();
    service.endedToken = settings.token();
    service.endsAt = clock.now();

    refresh();

    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::ended, clock.now()}));
    EXPECT_EQ(model.lastAuthError(), service.sessionEnd);
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

TEST_F(QuorinAuth, TellsASignInThatCannotBeHadFromOneThatIsGood)
{
    signIn();
    service.lacksSignIn = true;

    refresh();
    const QDateTime since = clock.now();
    clock.advance(seconds(60));
    refresh();

    EXPECT_EQ(model.standing(), (SessionStanding{SessionState::signInUnavailable, since}));
    EXPECT_EQ(model.state(), AuthState::signedIn(kEmail));
    EXPECT_EQ(model.lastAuthError(), QStringLiteral("Nobody gives out tokens."));
    EXPECT_TRUE(settings.token());

    service.lacksSignIn = false;
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

} // namespace gateway::account::testing
