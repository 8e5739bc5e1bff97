#include "shell/desktop/attention_watch.h"

#include "account/testing/session_world.h"
#include "core/notification_names.h"
#include "receive/store_listener_service.h"
#include "state/testing/state_world.h"

#include <gtest/gtest.h>

#include <atomic>

namespace gateway::shell {
namespace {

class CountingMessages final : public DesktopMessages
{
public:
    void show(const QString &title, const QString & /*body*/) override { titles += title; }

    QStringList titles;
};

struct Watching : account::testing::SessionWorld
{
    /// The title of a call for this cause.
    QString titleOf(AttentionCause cause)
    {
        CountingMessages own;
        Attention(own, clock).call(cause);
        return own.titles.first();
    }

    void expectCalls(const std::vector<AttentionCause> &causes)
    {
        QStringList titles;
        for (const AttentionCause cause : causes) {
            titles += titleOf(cause);
        }
        EXPECT_EQ(messages.titles, titles);
    }

    state::testing::StateWorld live;
    account::QuorinCloudStorageLimitViewModel storage{{service, settings, main, pool, clock}};
    CountingMessages messages;
    Attention attention{messages, clock};
    QList<core::FailureClass> classes; ///< set while nobody asks
    std::atomic<int> askings = 0;
    AttentionWatch watch{{notifications,
                          live.state(),
                          auth,
                          storage,
                          main,
                          pool,
                          clock,
                          [this] {
                              ++askings;
                              return classes;
                          },
                          attention}};

    /// One more image whose upload fails, and what follows from it.
    void failAnUpload()
    {
        live.index.images.push_back({live.clock.now(), 2});
        live.state().refreshCounters();
        pool.waitUntilIdle();
        main.drain();
    }
};

TEST_F(Watching, CallsForAListenerThatFailed)
{
    notifications.post(core::kStoreListenerError, {{core::kMessageKey, QStringLiteral("No port.")}});

    expectCalls({AttentionCause::listenerFailed});
    notifications.post(core::kStoreListenerError, {{receive::kListenerFailureIsKnownKey, true}});
    expectCalls({AttentionCause::listenerFailed});
}

TEST_F(Watching, CallsForTermsThatAreRequired)
{
    notifications.post(core::kQuorinCloudTermsRequired);

    expectCalls({AttentionCause::termsNeeded});
}

TEST_F(Watching, CallsWhenTheCloudHasEndedTheSession)
{
    signIn();
    service.endedToken = settings.token();

    finish(auth.refresh(false));

    expectCalls({AttentionCause::signInNeeded});
}

TEST_F(Watching, CallsOnceForCredentialsThatAreRefused)
{
    signIn();
    service.refusesCredentials = true;

    finish(auth.refresh(false));
    finish(auth.refresh(false));

    expectCalls({AttentionCause::signInNeeded});
}

TEST_F(Watching, CallsNobodyWhoSignsOut)
{
    signIn();

    finish(auth.signOut());

    expectCalls({});
}

TEST_F(Watching, CallsForAllowanceThatIsUsedUpOnlyWhileImagesWait)
{
    signIn();
    service.limit = {100, 100};
    finish(storage.refresh());
    expectCalls({});

    live.index.images.push_back({live.clock.now(), 0});
    live.state().refreshCounters();
    service.limit = {100, 101};
    finish(storage.refresh());
    expectCalls({AttentionCause::allowanceUsedUp});
}

TEST_F(Watching, CallsForWhatOnlyAPersonCanMend)
{
    classes = {core::FailureClass::sessionEnded,
               core::FailureClass::termsNotAccepted,
               core::FailureClass::storageUsedUp,
               core::FailureClass::timedOut};

    failAnUpload();

    expectCalls({AttentionCause::signInNeeded, AttentionCause::termsNeeded, AttentionCause::allowanceUsedUp});
}

TEST_F(Watching, CallsNobodyForUploadsThatAreTriedAgainByThemselves)
{
    classes = {core::FailureClass::timedOut, core::FailureClass::serviceFault, core::FailureClass::refused};

    failAnUpload();

    EXPECT_EQ(askings, 1);
    expectCalls({});
}

TEST_F(Watching, CallsNobodyWhoIsSignedInToSignIn)
{
    signIn();
    classes = {core::FailureClass::sessionEnded};

    failAnUpload();

    expectCalls({});
}

TEST_F(Watching, AsksWhyUploadsFailNowAndThenAndOnlyWhenMoreFailed)
{
    failAnUpload();
    failAnUpload();
    EXPECT_EQ(askings, 1);

    clock.advance(AttentionWatch::kAskingPause);
    live.index.images.pop_back();
    live.state().refreshCounters();
    pool.waitUntilIdle();
    EXPECT_EQ(askings, 1);

    failAnUpload();
    EXPECT_EQ(askings, 2);
}

TEST_F(Watching, CallsNobodyForAnAllowanceThatHasRoom)
{
    live.index.images.push_back({live.clock.now(), 0});
    live.state().refreshCounters();
    signIn();
    service.limit = {100, 99};

    finish(storage.refresh());

    expectCalls({});
}

TEST(DiskNearlyFull, IsLessThanTwoGibibytesOnceThatWasMeasured)
{
    constexpr qint64 kGibibyte = qint64{1} << 30;

    EXPECT_TRUE(isNearlyFull(2 * kGibibyte - 1));
    EXPECT_FALSE(isNearlyFull(2 * kGibibyte));
}

} // namespace
} // namespace gateway::shell
