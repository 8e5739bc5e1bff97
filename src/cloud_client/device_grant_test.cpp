#include "cloud_client/device_grant.h"

#include "cloud_client/testing/client_fixture.h"

#include <QtCore/QUrlQuery>

#include <gtest/gtest.h>

namespace gateway::cloud_client::testing {

namespace {

using std::chrono::seconds;

/// A service that gives out codes, and its client.
struct CodeService
{
    explicit CodeService(int withStatus, QByteArray withBody) : status(withStatus), body(std::move(withBody))
    {
    }

    ArchiveSignIn signIn() const
    {
        ArchiveSignIn made;
        made.method = ArchiveSignIn::Method::device;
        made.client.deviceEndpoint = service.server.url().toString() + QStringLiteral("/device");
        made.client.tokenEndpoint = service.server.url().toString() + QStringLiteral("/token");
        made.client.id = QStringLiteral("gateway");
        made.client.scope = QStringLiteral("store offline_access");
        return made;
    }

    DeviceCode begin() { return api.begin(signIn()); }
    DeviceAnswer ask() { return api.ask(signIn(), QStringLiteral("dc")); }

    QUrlQuery form() const { return QUrlQuery(QString::fromLatin1(service.server.requests().value(0).body)); }

    const int status;
    const QByteArray body;
    ScriptedService service{[this](const ReceivedRequest &) {
                                return ScriptedHttpServer::answer(status, "application/json", body);
                            },
                            CloudKind::dicomweb};
    DeviceGrantAPI api{service.client};
};

QByteArray refusal(const char *code)
{
    return QByteArray(R"({"error":")") + code + "\"}";
}

} // namespace

TEST(DeviceGrant, AsksForACodeThatAPersonCanEnter)
{
    CodeService service(200,
                        R"({"device_code":"dc","user_code":"ABCD-\u0007EFGH","expires_in":300,"interval":7,
                            "verification_uri":"https://id.example/device",
                            "verification_uri_complete":"https://id.example/device?user_code=ABCD-EFGH"})");

    const DeviceCode code = service.begin();

    EXPECT_TRUE(service.service.server.requests().value(0).is("POST", "/device"));
    EXPECT_EQ(service.form().queryItemValue(QStringLiteral("client_id")), QStringLiteral("gateway"));
    EXPECT_EQ(service.form().queryItemValue(QStringLiteral("scope")), QStringLiteral("store+offline_access"));
    EXPECT_EQ(code.deviceCode, QStringLiteral("dc"));
    EXPECT_EQ(code.userCode, QStringLiteral("ABCD-EFGH")); // a terminal shows it
    EXPECT_EQ(code.address, QStringLiteral("https://id.example/device"));
    EXPECT_EQ(code.wholeAddress, QStringLiteral("https://id.example/device?user_code=ABCD-EFGH"));
    EXPECT_EQ(code.lifetime, seconds(300));
    EXPECT_EQ(code.interval, seconds(7));
}

TEST(DeviceGrant, AsksEveryFiveSecondsWhereTheServiceNamesNoSensibleInterval)
{
    for (const char *interval : {"0", "-3", "\"soon\"", "null"}) {
        CodeService service(200,
                            QByteArray(R"({"device_code":"dc","user_code":"A","expires_in":9e9,)"
                                       R"("verification_uri":"https://id.example/","interval":)") +
                                interval + '}');
        EXPECT_EQ(service.begin().interval, seconds(5)) << interval;
    }
}

TEST(DeviceGrant, SendsNobodyToAnAddressThatIsNoneOfTheWeb)
{
    for (const char *address : {"javascript:alert(1)", "https://", "", "https://ann@evil.example/"}) {
        CodeService service(
            200, QByteArray(R"({"device_code":"dc","user_code":"A","verification_uri":")") + address + "\"}");
        const auto error = errorOf<AFError>([&service] { service.begin(); });
        ASSERT_TRUE(error) << address;
        EXPECT_EQ(error->noAnswer, NoAnswer::signInUnavailable);
    }
}

TEST(DeviceGrant, TellsAClientThatMayNotAskForCodes)
{
    CodeService service(400, refusal("unauthorized_client"));

    const auto error = errorOf<QrnErrorResponse>([&service] { service.begin(); });

    ASSERT_TRUE(error);
    EXPECT_TRUE(error->message->contains(QStringLiteral("device_code"))) << error->message->toStdString();
}

TEST(DeviceGrant, TellsWaitingFromAskingTooOften)
{
    const DeviceAnswer pending = CodeService(400, refusal("authorization_pending")).ask();
    const DeviceAnswer tooOften = CodeService(400, refusal("slow_down")).ask();

    EXPECT_FALSE(pending.tokens);
    EXPECT_FALSE(pending.isTooOften);
    EXPECT_FALSE(tooOften.tokens);
    EXPECT_TRUE(tooOften.isTooOften);
}

TEST(DeviceGrant, SaysInASentenceWhyItComesToNothing)
{
    const std::pair<const char *, const char *> kSentences[] = {
        {"access_denied", "The sign-in was refused by whoever entered the code at 127.0.0.1."},
        {"expired_token", "The code of 127.0.0.1 is over before somebody has entered it; begin again."},
        {"invalid_client", "The sign-in service at 127.0.0.1 refused the client id or its secret."}};
    for (const auto &[code, sentence] : kSentences) {
        CodeService service(400, refusal(code));
        const auto error = errorOf<QrnErrorResponse>([&service] { service.ask(); });
        ASSERT_TRUE(error) << code;
        EXPECT_EQ(error->message, QString::fromLatin1(sentence));
    }
}

TEST(DeviceGrant, GivesTheTokensAndSaysWhoseTheyAre)
{
    const QByteArray identity =
        "e30." + QByteArray(R"({"iss":"https://id.example","sub":"ann"})").toBase64() + ".s";
    CodeService service(200, R"({"access_token":"t1","refresh_token":"r1","id_token":")" + identity + "\"}");
    CodeService anonymous(200, R"({"access_token":"t1","refresh_token":"r1"})");
    CodeService another(200, R"({"access_token":"t1","refresh_token":"r2"})");

    const DeviceAnswer answer = service.ask();

    ASSERT_TRUE(answer.tokens);
    EXPECT_EQ(service.form().queryItemValue(QStringLiteral("device_code")), QStringLiteral("dc"));
    EXPECT_EQ(answer.tokens->accessToken, QStringLiteral("t1"));
    EXPECT_EQ(answer.tokens->refreshToken, QStringLiteral("r1"));
    EXPECT_EQ(answer.tokens->holder, holderOf(QString::fromLatin1(identity)));
    EXPECT_NE(anonymous.ask().tokens->holder, another.ask().tokens->holder);
}

TEST(DeviceGrant, TakesNoSignInThatWouldSoonEnd)
{
    CodeService service(200, R"({"access_token":"t1","expires_in":300})");

    const auto error = errorOf<QrnErrorResponse>([&service] { service.ask(); });

    ASSERT_TRUE(error);
    EXPECT_TRUE(error->message->contains(QStringLiteral("offline_access")));
}

} // namespace gateway::cloud_client::testing
