#include "app/refused_session.h"

#include "account/testing/session_world.h"

namespace gateway::app {
namespace {

struct RefusedSessions : account::testing::SessionWorld
{
    void finishRun(std::optional<core::FailureClass> trouble)
    {
        upload::StoreUpload::RunSummary summary;
        if (trouble) {
            summary.trouble = upload::StoreUpload::QueueTrouble{{*trouble, 401}, std::nullopt};
        }
        watch.runFinished(summary, clock.now());
        main.drain();
        pool.waitUntilIdle();
        main.drain();
    }

    RefusedSession watch{main, auth};
};

TEST_F(RefusedSessions, AreLookedAtWhenAnUploadIsRefusedForThem)
{
    signIn();
    service.endedToken = settings.token();

    finishRun(core::FailureClass::sessionEnded);
    runUntil([&] { return !auth.state().isSignedIn(); });

    EXPECT_EQ(auth.standing().state, account::SessionState::ended);
}

TEST_F(RefusedSessions, AreLookedAtWhenARunFindsNone)
{
    signIn();
    settings.endSession(clock.now());
    upload::StoreUpload::RunSummary summary;
    summary.missingToken = true;

    watch.runFinished(summary, clock.now());
    runUntil([&] { return !auth.state().isSignedIn(); });

    EXPECT_EQ(auth.standing().state, account::SessionState::ended);
}

TEST_F(RefusedSessions, AreNotLookedAtForAnythingElse)
{
    signIn();
    service.endedToken = settings.token();

    finishRun(std::nullopt);
    finishRun(core::FailureClass::timedOut);
    finishRun(core::FailureClass::termsNotAccepted);

    EXPECT_EQ(auth.standing().state, account::SessionState::signedIn);
}

} // namespace
} // namespace gateway::app
