#include "cloud_client/kept_refresh_token.h"

#include "cloud_client/network_settings.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/testing/client_fixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace gateway::cloud_client::testing {

namespace {

const QString kSession = QStringLiteral("session");

OAuthTokens refuse(const QString &)
{
    throw QrnErrorResponse(QrnErrorKind::sessionInvalid, QStringLiteral("over"), 400);
}

} // namespace

struct KeptRefreshTokenTest : ::testing::Test
{
    KeptRefreshTokenTest() { settings.setToken(kSession, QStringLiteral("r1")); }

    platform::testing::ManualClock clock;
    MemoryTokenStore store;
    NetworkSettings settings{store, QStringLiteral("test")};
    KeptRefreshToken kept{settings, clock};
};

TEST_F(KeptRefreshTokenTest, KeepsWhatCameBeforeTheAccessTokenIsUsed)
{
    const AccessToken token = kept.renew(kSession, [](const QString &before) {
        EXPECT_EQ(before, QStringLiteral("r1"));
        return OAuthTokens{{"t2"}, QStringLiteral("r2"), {}};
    });

    EXPECT_EQ(token.value, "t2");
    NetworkSettings nextRun(store, QStringLiteral("test"));
    nextRun.waitUntilStored();
    EXPECT_EQ(nextRun.refreshToken(kSession), QStringLiteral("r2"));
    EXPECT_EQ(nextRun.token(), kSession);
}

TEST_F(KeptRefreshTokenTest, ShowsNoneTwiceHoweverManyAskAtOnce)
{
    std::atomic<int> number = 1;
    std::vector<std::thread> threads;
    for (int caller = 0; caller < 6; ++caller) {
        threads.emplace_back([&] {
            kept.renew(kSession, [&](const QString &before) {
                EXPECT_EQ(before, QStringLiteral("r%1").arg(number.load()));
                std::this_thread::yield();
                return OAuthTokens{{"t"}, QStringLiteral("r%1").arg(++number), {}};
            });
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }

    EXPECT_EQ(settings.refreshToken(kSession), QStringLiteral("r7"));
}

TEST_F(KeptRefreshTokenTest, EndsTheSessionWhenItIsRefusedAndAsksNoMore)
{
    EXPECT_THROW(kept.renew(kSession, refuse), QrnErrorResponse);

    EXPECT_FALSE(settings.token());
    EXPECT_EQ(settings.endedAt(), clock.now());
    EXPECT_EQ(settings.endedSession(), kSession);
    int asked = 0;
    EXPECT_THROW(kept.renew(kSession,
                            [&asked](const QString &) {
                                ++asked;
                                return OAuthTokens();
                            }),
                 QrnErrorResponse);
    EXPECT_EQ(asked, 0);
}

TEST_F(KeptRefreshTokenTest, LeavesASessionThatWasBegunMeanwhile)
{
    EXPECT_THROW(kept.renew(kSession,
                            [this](const QString &before) {
                                settings.setToken(kSession, QStringLiteral("of the new sign-in"));
                                return refuse(before);
                            }),
                 QrnErrorResponse);
    EXPECT_EQ(settings.token(), kSession);

    kept.renew(kSession, [this](const QString &) {
        settings.setToken(kSession, QStringLiteral("of the newest"));
        return OAuthTokens{{"t"}, QStringLiteral("of the one before"), {}};
    });
    EXPECT_EQ(settings.refreshToken(kSession), QStringLiteral("of the newest"));
}

TEST_F(KeptRefreshTokenTest, StaysWithTheSessionWhenNobodyAnswers)
{
    EXPECT_THROW(
        kept.renew(kSession,
                   [](const QString &) -> OAuthTokens { throw OAuthService::away(QStringLiteral("away")); }),
        AFError);

    EXPECT_EQ(settings.refreshToken(kSession), QStringLiteral("r1"));
}

TEST_F(KeptRefreshTokenTest, GoesWithTheSession)
{
    settings.setToken(std::nullopt);

    EXPECT_FALSE(settings.refreshToken(kSession));
    EXPECT_FALSE(settings.endedSession());
    settings.waitUntilStored();
    NetworkSettings nextRun(store, QStringLiteral("test"));
    nextRun.waitUntilStored();
    EXPECT_FALSE(nextRun.refreshToken(kSession));
}

} // namespace gateway::cloud_client::testing
