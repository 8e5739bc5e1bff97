#include "cloud_client/network_settings.h"
#include "cloud_client/testing/memory_token_store.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace gateway::cloud_client {
using testing::MemoryTokenStore;

namespace {

const QString kKey = QStringLiteral("quorin https://cloud.example");

/// A token store that others overtake on their way, as a disk does. Thread: any.
class SlowTokenStore final : public platform::TokenStore
{
public:
    platform::TokenAnswer read(const QString &key) override { return m_store.read(key); }

    bool write(const QString &key, const QByteArray &value) override
    {
        dawdle();
        return m_store.write(key, value);
    }

    bool remove(const QString &key) override
    {
        dawdle();
        return m_store.remove(key);
    }

private:
    static void dawdle()
    {
        for (int turn = 0; turn < 1000; ++turn) {
            std::this_thread::yield();
        }
    }

    MemoryTokenStore m_store;
};

} // namespace

TEST(NetworkSettings, KeepsTheSessionBetweenRuns)
{
    MemoryTokenStore store;
    {
        NetworkSettings settings(store, kKey);
        EXPECT_FALSE(settings.token());
        settings.setToken(QStringLiteral("secret"), std::nullopt, 42);
    }

    NetworkSettings next(store, kKey);
    next.waitUntilStored();

    EXPECT_EQ(next.token(), QStringLiteral("secret"));
    EXPECT_EQ(next.userId(), 42);
}

TEST(NetworkSettings, OffersNoServiceTheSessionOfAnother)
{
    MemoryTokenStore store;
    {
        NetworkSettings(store, kKey).setToken(QStringLiteral("secret"));
    }

    NetworkSettings other(store, QStringLiteral("quorin https://other.example"));
    other.waitUntilStored();
    EXPECT_FALSE(other.token());
}

TEST(NetworkSettings, LeavesNothingBehindOnceSignedOut)
{
    MemoryTokenStore store;
    {
        NetworkSettings settings(store, kKey);
        settings.setToken(QStringLiteral("secret"), std::nullopt, 42);
        settings.setToken(std::nullopt);
        EXPECT_FALSE(settings.token());
    }

    EXPECT_TRUE(store.isEmpty());
}

TEST(NetworkSettings, RemembersBetweenRunsWhenTheServiceEndedTheSession)
{
    const QDateTime when(QDate(2026, 5, 1), QTime(13, 0), Qt::UTC);
    MemoryTokenStore store;
    {
        NetworkSettings settings(store, kKey);
        settings.setToken(QStringLiteral("secret"), std::nullopt, 42);
        settings.endSession(when);
    }

    NetworkSettings next(store, kKey);
    next.waitUntilStored();
    EXPECT_FALSE(next.token());
    EXPECT_FALSE(next.userId());
    EXPECT_EQ(next.endedAt(), when);

    next.setToken(QStringLiteral("new"));
    EXPECT_FALSE(next.endedAt());
}

TEST(NetworkSettings, MarksOnlyTheCredentialsThatWereRefused)
{
    MemoryTokenStore store;
    NetworkSettings settings(store, kKey);
    settings.setToken(QStringLiteral("new"));

    settings.setCredentialsRefused(QStringLiteral("old"), true);
    EXPECT_FALSE(settings.areCredentialsRefused());
    settings.setCredentialsRefused(QStringLiteral("new"), true);
    EXPECT_TRUE(settings.areCredentialsRefused());
    EXPECT_EQ(settings.token(), QStringLiteral("new"));
    settings.setToken(QStringLiteral("newer"));
    EXPECT_FALSE(settings.areCredentialsRefused());
}

TEST(NetworkSettings, TakesARecordThatIsDamagedForNoSession)
{
    MemoryTokenStore store;
    store.write(kKey, "{\"token\": 7, \"userId\": \"x\"");

    NetworkSettings settings(store, kKey);
    settings.waitUntilStored();

    EXPECT_FALSE(settings.token());
    EXPECT_FALSE(settings.userId());
}

TEST(NetworkSettings, IsInTheTokenStoreOnceThatWasWaitedFor)
{
    SlowTokenStore store;
    NetworkSettings settings(store, kKey);

    settings.setToken(QStringLiteral("secret"), std::nullopt, 42);
    settings.waitUntilStored();

    NetworkSettings next(store, kKey);
    next.waitUntilStored();
    EXPECT_EQ(next.token(), QStringLiteral("secret"));
    settings.setToken(std::nullopt);
    settings.waitUntilStored();
    EXPECT_EQ(store.read(kKey), platform::TokenAnswer::absent());
}

TEST(NetworkSettings, WaitsForAStoreThatDoesNotAnswerAndTakesItsLateAnswer)
{
    MemoryTokenStore store;
    store.write(kKey, R"({"token": "secret", "userId": 42})");
    store.setSilent(true);
    NetworkSettings settings(store, kKey);
    settings.waitUntilStored();
    EXPECT_FALSE(settings.isKnown());
    EXPECT_FALSE(settings.token());
    std::promise<void> known;
    settings.whenKnown([&known] { known.set_value(); });

    settings.askAgain();
    settings.waitUntilStored();
    EXPECT_FALSE(settings.isKnown());
    store.setSilent(false);
    settings.askAgain();

    known.get_future().wait();
    EXPECT_TRUE(settings.isKnown());
    EXPECT_EQ(settings.token(), QStringLiteral("secret"));
}

TEST(NetworkSettings, LetsWhoSignsInMeanwhileCountMoreThanALateAnswer)
{
    MemoryTokenStore store;
    store.write(kKey, R"({"token": "old", "userId": 42})");
    store.setSilent(true);
    NetworkSettings settings(store, kKey);
    settings.waitUntilStored();

    settings.setToken(QStringLiteral("new"));
    EXPECT_FALSE(settings.waitUntilStored());
    store.setSilent(false);
    settings.askAgain();

    EXPECT_TRUE(settings.waitUntilStored());
    EXPECT_EQ(settings.token(), QStringLiteral("new"));
    EXPECT_TRUE(store.read(kKey).value.contains("new"));
}

/// A store that answers when it is told to, as a keyring that waits to be unlocked. Thread: any.
class LockedTokenStore final : public platform::TokenStore
{
public:
    explicit LockedTokenStore(std::shared_future<void> unlocked) : m_unlocked(std::move(unlocked)) {}

    platform::TokenAnswer read(const QString &) override
    {
        m_unlocked.wait();
        return platform::TokenAnswer::found(R"({"token": "secret"})");
    }

    bool write(const QString &, const QByteArray &) override { return true; }
    bool remove(const QString &) override { return true; }

private:
    std::shared_future<void> m_unlocked;
};

TEST(NetworkSettings, KeepsNobodyWaitingForALockedStore)
{
    std::promise<void> unlock;
    LockedTokenStore store(unlock.get_future().share());
    NetworkSettings settings(store, kKey);

    EXPECT_FALSE(settings.isKnown());
    EXPECT_FALSE(settings.waitUntilStored(std::chrono::milliseconds(0)));
    settings.askAgain();

    unlock.set_value();
    settings.waitUntilStored();
    EXPECT_EQ(settings.token(), QStringLiteral("secret"));
}

TEST(NetworkSettings, CanBeReadWhileItIsWritten)
{
    MemoryTokenStore store;
    NetworkSettings settings(store, kKey);

    std::thread writer([&settings] {
        for (int round = 0; round < 500; ++round) {
            settings.setToken(QStringLiteral("token %1").arg(round));
        }
    });
    for (int round = 0; round < 500; ++round) {
        const std::optional<QString> token = settings.token();
        EXPECT_TRUE(!token || token->startsWith(QStringLiteral("token ")));
    }
    writer.join();

    EXPECT_EQ(settings.token(), QStringLiteral("token 499"));
}

} // namespace gateway::cloud_client
