#include "cloud/store/accounts.h"

#include "cloud/store/secrets.h"
#include "cloud/store/service_settings.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::cloud {
namespace {

const QString kEmail = QStringLiteral("ann@example.org");
const QString kPassword = QStringLiteral("pass:wörd");

class AccountsTest : public ::testing::Test
{
protected:
    AccountsTest() { accounts.putUser(kEmail, kPassword); }

    UserId user() { return accounts.userWithPassword(kEmail, kPassword).value_or(0); }

    QString path() const { return home.filePath(QStringLiteral("a.sqlite")); }

    QTemporaryDir home;
    platform::testing::ManualClock clock;
    Accounts accounts{path(), true, clock};
};

TEST_F(AccountsTest, KnowTheirUsersByAddressAndPassword)
{
    const auto found = accounts.userWithPassword(QStringLiteral("ANN@example.org"), kPassword);

    EXPECT_EQ(found, user());
    EXPECT_EQ(accounts.userWithPassword(kEmail, QStringLiteral("other")), std::nullopt);
    EXPECT_EQ(accounts.userWithPassword(QStringLiteral("bob@example.org"), kPassword), std::nullopt);
}

TEST_F(AccountsTest, EndASessionAtItsTime)
{
    const Session session = accounts.beginSession(user(), std::chrono::seconds(60));

    ASSERT_TRUE(accounts.session(session.token).has_value());
    EXPECT_EQ(accounts.session(session.token)->expiresAt, clock.now().addSecs(60));
    clock.advance(std::chrono::seconds(60));

    EXPECT_FALSE(accounts.session(session.token).has_value());
}

TEST_F(AccountsTest, EndASessionOnRequestAndKeepTheOthers)
{
    const Session one = accounts.beginSession(user(), std::chrono::hours(1));
    const Session two = accounts.beginSession(user(), std::chrono::hours(1));

    accounts.endSession(one.token);

    EXPECT_FALSE(accounts.session(one.token).has_value());
    EXPECT_TRUE(accounts.session(two.token).has_value());
    EXPECT_FALSE(accounts.session("made up").has_value());
    accounts.endAllSessions();
    EXPECT_FALSE(accounts.session(two.token).has_value());
}

TEST_F(AccountsTest, KeepSessionsAcrossAReopening)
{
    const Session session = accounts.beginSession(user(), std::chrono::hours(1));

    const Accounts reopened(path(), true, clock);

    EXPECT_TRUE(reopened.session(session.token).has_value());
}

TEST_F(AccountsTest, KeepUnknownMembersOfAProfileButNotAForeignIdentity)
{
    accounts.putProfile(user(),
                        {{QStringLiteral("id"), 77},
                         {QStringLiteral("email"), QStringLiteral("eve@example.org")},
                         {QStringLiteral("shoeSize"), 43}});

    const QJsonObject profile = accounts.profile(user());

    EXPECT_EQ(profile.value(QStringLiteral("shoeSize")).toInt(), 43);
    EXPECT_EQ(profile.value(QStringLiteral("id")).toInteger(), user());
    EXPECT_EQ(profile.value(QStringLiteral("email")).toString(), kEmail);
}

TEST_F(AccountsTest, TakeANewPasswordAndForgetTheOld)
{
    const UserId id = user();

    accounts.setPassword(id, QStringLiteral("new"));

    EXPECT_TRUE(accounts.isPassword(id, QStringLiteral("new")));
    EXPECT_EQ(accounts.userWithPassword(kEmail, kPassword), std::nullopt);
    EXPECT_EQ(accounts.userWithPassword(kEmail, QStringLiteral("new")), id);
}

TEST_F(AccountsTest, GiveAKnownUserTheGivenPasswordAndKeepTheProfile)
{
    accounts.putProfile(user(), {{QStringLiteral("lastName"), QStringLiteral("Lee")}});
    const UserId id = user();

    accounts.putUser(kEmail, QStringLiteral("again"));

    EXPECT_EQ(accounts.userWithPassword(kEmail, QStringLiteral("again")), id);
    EXPECT_EQ(accounts.profile(id).value(QStringLiteral("lastName")).toString(), QStringLiteral("Lee"));
}

TEST(Secrets, HashEachPasswordWithItsOwnSalt)
{
    const QByteArray one = hashPassword(kPassword);
    const QByteArray two = hashPassword(kPassword);

    EXPECT_NE(one, two);
    EXPECT_TRUE(passwordMatches(kPassword, two));
    EXPECT_FALSE(passwordMatches(kPassword + u'x', two));
    EXPECT_FALSE(passwordMatches(kPassword, "no hash"));
    EXPECT_NE(randomToken(), randomToken());
    EXPECT_EQ(sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(ServiceSettings, KeepsTheRulesAcrossAReopening)
{
    QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("settings.json"));
    {
        ServiceSettings settings(path);
        ServiceRules rules = settings.rules();
        rules.termsVersion = QStringLiteral("2");
        rules.allowanceKb = 5;
        rules.maxBodyBytes = 1000;
        rules.sessionLifetime = std::chrono::seconds(7);
        settings.setRules(rules);
    }

    const ServiceRules rules = ServiceSettings(path).rules();

    EXPECT_EQ(rules.termsVersion, QStringLiteral("2"));
    EXPECT_EQ(rules.allowanceKb, 5);
    EXPECT_EQ(rules.maxBodyBytes, 1000);
    EXPECT_EQ(rules.sessionLifetime, std::chrono::seconds(7));
    EXPECT_EQ(rules.latestVersion, QStringLiteral(QUORIN_VERSION));
}

} // namespace
} // namespace gateway::cloud
