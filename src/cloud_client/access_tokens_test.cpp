#include "cloud_client/access_tokens.h"

#include "cloud_client/quorin_error.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

namespace gateway::cloud_client {

namespace {

using namespace std::chrono_literals;
using Refusal = ArchiveAuthorizer::Refusal;

/// Gives out "token 1", "token 2" and so on.
struct CountingService
{
    std::optional<std::chrono::seconds> lifetime = 100s;
    std::atomic<int> fetches = 0;
    std::atomic<bool> isAway = false;

    AccessToken fetch()
    {
        const int number = ++fetches;
        if (isAway) {
            throw AFError(QStringLiteral("away"), std::nullopt, 0, NoAnswer::signInUnavailable);
        }
        return {"token" + QByteArray::number(number), lifetime};
    }
};

} // namespace

struct AccessTokensTest : testing::Test
{
    platform::testing::ManualClock clock;
    CountingService service;
    AccessTokens tokens{[this] { return service.fetch(); }, clock};
};

TEST_F(AccessTokensTest, UsesOneTokenUntilShortlyBeforeItsEnd)
{
    EXPECT_EQ(tokens.header(), "Bearer token1");
    clock.advance(74s); // a quarter of its time is left for requests that are under way
    EXPECT_EQ(tokens.header(), "Bearer token1");
    clock.advance(1s);
    EXPECT_EQ(tokens.header(), "Bearer token2");
}

TEST_F(AccessTokensTest, ReplacesATokenOfAnHourAMinuteBeforeItsEnd)
{
    service.lifetime = 3600s;
    tokens.header();
    clock.advance(3539s);
    EXPECT_EQ(tokens.header(), "Bearer token1");
    clock.advance(1s);
    EXPECT_EQ(tokens.header(), "Bearer token2");
}

TEST_F(AccessTokensTest, KeepsATokenWithoutALifetimeUntilItIsRefused)
{
    service.lifetime.reset();
    tokens.header();
    clock.advance(1000h);
    EXPECT_EQ(tokens.header(), "Bearer token1");

    EXPECT_TRUE(tokens.refused("Bearer token1", Refusal::signInWanted));

    EXPECT_EQ(tokens.header(), "Bearer token2");
}

TEST_F(AccessTokensTest, DoubtsATokenThatWasTakenBeforeWhereItIsNotPermitted)
{
    service.lifetime.reset();
    tokens.header();
    EXPECT_FALSE(tokens.refused("Bearer token1", Refusal::notPermitted)) << "new, and about the account";
    EXPECT_EQ(tokens.header(), "Bearer token1");

    tokens.accepted("Bearer token1");
    EXPECT_TRUE(tokens.refused("Bearer token1", Refusal::notPermitted)) << "it may have ended";
    EXPECT_TRUE(tokens.refused("Bearer token1", Refusal::notPermitted)) << "of a request beside that one";

    EXPECT_EQ(tokens.header(), "Bearer token2");
    tokens.accepted("Bearer token1");
    EXPECT_FALSE(tokens.refused("Bearer token2", Refusal::notPermitted)) << "no loop";
    EXPECT_EQ(service.fetches, 2);
}

TEST_F(AccessTokensTest, DoesNotDropATokenForTheRefusalOfTheOneBefore)
{
    tokens.header();
    tokens.refused("Bearer token1", Refusal::signInWanted);
    EXPECT_EQ(tokens.header(), "Bearer token2");

    EXPECT_TRUE(tokens.refused("Bearer token1", Refusal::signInWanted)); // a slow answer to another request

    EXPECT_EQ(tokens.header(), "Bearer token2");
    EXPECT_EQ(service.fetches, 2);
}

TEST_F(AccessTokensTest, TellsOfAFailedFetchAndTriesAgainTheNextTime)
{
    service.isAway = true;
    EXPECT_THROW(tokens.header(), AFError);
    EXPECT_THROW(tokens.header(), AFError);

    service.isAway = false;

    EXPECT_EQ(tokens.header(), "Bearer token3");
}

TEST(AccessTokens, AreFetchedOnceForAllWhoWait)
{
    constexpr int kCallers = 8;
    const platform::testing::ManualClock clock;
    std::atomic<int> fetches = 0;
    std::atomic<int> arrived = 0;
    AccessTokens tokens(
        [&] {
            ++fetches;
            while (arrived < kCallers) { // until all ask, so that nobody could be served without a wait
                std::this_thread::yield();
            }
            return AccessToken{"one", std::nullopt};
        },
        clock);
    std::vector<QByteArray> headers(kCallers);
    std::vector<std::thread> threads;
    threads.reserve(kCallers);
    for (int number = 0; number < kCallers; ++number) {
        threads.emplace_back([&, number] {
            ++arrived;
            headers[static_cast<std::size_t>(number)] = tokens.header();
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }

    EXPECT_EQ(fetches, 1);
    EXPECT_EQ(headers, std::vector<QByteArray>(kCallers, "Bearer one"));
}

} // namespace gateway::cloud_client
