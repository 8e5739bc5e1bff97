#include "cloud_client/token_service.h"

#include "cloud_client/http_transport.h"
#include "cloud_client/testing/client_fixture.h"
#include "cloud_client/testing/pem_samples.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QUrlQuery>

#include <gtest/gtest.h>

namespace gateway::cloud_client::testing {

namespace {

using SecretIn = OAuthClient::SecretIn;

const QByteArray kToken = R"({"access_token":"t1","token_type":"bearer","expires_in":300})";

QByteArray json(int status, const QByteArray &body, const QByteArray &more = {})
{
    return ScriptedHttpServer::answer(status, "application/json", body, more);
}

/// A service that gives out tokens, and a client of it.
struct Issuer
{
    explicit Issuer(ScriptedHttpServer::Handler handler) : server(std::move(handler)) {}

    TokenService service(ArchiveSignIn signIn)
    {
        return TokenService({.transport = transport, .clock = clock, .timeout = std::chrono::seconds(60)},
                            std::move(signIn));
    }

    ArchiveSignIn signIn(SecretIn place = SecretIn::header)
    {
        ArchiveSignIn made;
        made.method = ArchiveSignIn::Method::clientCredentials;
        made.secret = QStringLiteral("a secret & more");
        made.client = {.issuer = {},
                       .tokenEndpoint = server.url().toString() + QStringLiteral("/token"),
                       .id = QStringLiteral("gate:way"),
                       .scope = QStringLiteral("store query"),
                       .audience = QStringLiteral("archive"),
                       .secretIn = place};
        return made;
    }

    ArchiveSignIn byIssuer(const QString &path = QStringLiteral("/realm"))
    {
        ArchiveSignIn made = signIn();
        made.client.tokenEndpoint.clear();
        made.client.issuer = server.url().toString() + path;
        return made;
    }

    ScriptedHttpServer server;
    platform::testing::ManualClock clock;
    HttpTransport transport{configurationFor(QUrl(QStringLiteral("https://archive.example")))};
};

QUrlQuery formOf(const ReceivedRequest &request)
{
    return QUrlQuery(QString::fromLatin1(request.body).replace(u'+', QStringLiteral("%20")));
}

QString value(const QUrlQuery &query, const char *name)
{
    return query.queryItemValue(QString::fromLatin1(name), QUrl::FullyDecoded);
}

/// The sentence of the failure to get a token from a service that answers so.
AFError failureWith(const QByteArray &answer)
{
    Issuer issuer([answer](const ReceivedRequest &) { return answer; });
    TokenService service = issuer.service(issuer.signIn());
    return errorOf<AFError>([&service] { service.fetch(); }).value();
}

} // namespace

TEST(TokenService, SendsTheSecretInTheHeader)
{
    Issuer issuer([](const ReceivedRequest &) { return json(200, kToken); });

    const AccessToken token = issuer.service(issuer.signIn()).fetch();

    EXPECT_EQ(token.value, "t1");
    EXPECT_EQ(token.lifetime, std::chrono::seconds(300));
    const ReceivedRequest request = issuer.server.requests().value(0);
    EXPECT_TRUE(request.is("POST", "/token"));
    EXPECT_EQ(request.headers.value("authorization"),
              "Basic " + QByteArray("gate%3Away:a+secret+%26+more").toBase64());
    const QUrlQuery form = formOf(request);
    EXPECT_EQ(value(form, "grant_type"), QStringLiteral("client_credentials"));
    EXPECT_EQ(value(form, "scope"), QStringLiteral("store query"));
    EXPECT_EQ(value(form, "audience"), QStringLiteral("archive"));
    EXPECT_FALSE(request.body.contains("secret"));
}

TEST(TokenService, TakesATokenBackWhereTheIssuerSaysHow)
{
    Issuer issuer([&issuer](const ReceivedRequest &request) {
        const QByteArray root = issuer.server.url().toString().toLatin1();
        return request.method == "GET" ? json(200,
                                              R"({"issuer":")" + root + R"(/realm","revocation_endpoint":")" +
                                                  root + R"(/revoke"})")
                                       : ScriptedHttpServer::answer(200);
    });

    issuer.service(issuer.byIssuer()).revoke(QStringLiteral("r&1"));

    const ReceivedRequest request = issuer.server.requests().last();
    EXPECT_TRUE(request.is("POST", "/revoke"));
    EXPECT_EQ(request.headers.value("authorization"),
              "Basic " + QByteArray("gate%3Away:a+secret+%26+more").toBase64());
    EXPECT_EQ(value(formOf(request), "token"), QStringLiteral("r&1"));
    EXPECT_EQ(value(formOf(request), "token_type_hint"), QStringLiteral("refresh_token"));
}

TEST(TokenService, TakesNoTokenBackWhereNobodySaysHowOrTheServiceRefuses)
{
    Issuer issuer([&issuer](const ReceivedRequest &request) {
        const QByteArray root = issuer.server.url().toString().toLatin1();
        const QByteArray revocation =
            request.target.startsWith("/silent") ? "" : R"(,"revocation_endpoint":")" + root + R"(/revoke")";
        const QByteArray realm = request.target.startsWith("/silent") ? "/silent" : "/realm";
        return request.method == "GET" ? json(200, R"({"issuer":")" + root + realm + '"' + revocation + '}')
                                       : json(400, R"({"error":"unsupported_token_type"})");
    });
    const auto failureOf = [](TokenService service) {
        return errorOf<QuorinError>([&service] { service.revoke(QStringLiteral("r1")); }).has_value();
    };

    EXPECT_TRUE(failureOf(issuer.service(issuer.signIn())));
    EXPECT_TRUE(issuer.server.requests().isEmpty()) << "without an issuer nobody is asked";
    EXPECT_TRUE(failureOf(issuer.service(issuer.byIssuer(QStringLiteral("/silent")))));
    EXPECT_TRUE(failureOf(issuer.service(issuer.byIssuer())));
}

TEST(TokenService, SendsTheSecretInTheBody)
{
    Issuer issuer([](const ReceivedRequest &) { return json(200, kToken); });

    issuer.service(issuer.signIn(SecretIn::body)).fetch();

    const ReceivedRequest request = issuer.server.requests().value(0);
    EXPECT_FALSE(request.headers.contains("authorization"));
    EXPECT_EQ(value(formOf(request), "client_id"), QStringLiteral("gate:way"));
    EXPECT_EQ(value(formOf(request), "client_secret"), QStringLiteral("a secret & more"));
}

TEST(TokenService, NamesItselfAloneWhereItsCertificateSaysWhoItIs)
{
    Issuer issuer([](const ReceivedRequest &) { return json(200, kToken); });
    ArchiveSignIn signIn = issuer.signIn(SecretIn::certificate);
    signIn.secret.clear();

    issuer.service(signIn).fetch();

    const ReceivedRequest request = issuer.server.requests().value(0);
    EXPECT_FALSE(request.headers.contains("authorization"));
    EXPECT_EQ(value(formOf(request), "client_id"), QStringLiteral("gate:way"));
    EXPECT_FALSE(request.body.contains("client_secret"));
}

TEST(TokenService, GoesWhereAnIssuerTakesCertificatesWhenItHasOne)
{
    QByteArray base;
    Issuer issuer([&base](const ReceivedRequest &request) {
        return request.method == "GET"
                   ? json(200,
                          R"({"issuer":")" + base + R"(/realm","token_endpoint":")" + base +
                              R"(/give","mtls_endpoint_aliases":{"token_endpoint":")" + base +
                              R"(/certified"}})")
                   : json(200, kToken);
    });
    base = issuer.server.url().toEncoded();
    ArchiveSignIn signIn = issuer.byIssuer();
    const PemSample sample = makePemSample(issuer.clock.now(), issuer.clock.now());

    issuer.service(signIn).fetch();
    signIn.certificate = {sample.certificate, sample.key};
    issuer.service(signIn).fetch();

    EXPECT_TRUE(issuer.server.requests().at(1).is("POST", "/give"));
    EXPECT_TRUE(issuer.server.requests().at(3).is("POST", "/certified"));
}

TEST(TokenService, SaysThatAProxyBeforeItWantsAnotherCertificate)
{
    const AFError error = failureWith(ScriptedHttpServer::answer(
        400, "text/html", "<html><center>No required SSL certificate was sent</center></html>"));

    EXPECT_EQ(error.noAnswer, NoAnswer::signInUnavailable);
    EXPECT_EQ(error.localizedDescription,
              QStringLiteral("The sign-in service at 127.0.0.1 did not accept the client certificate of this "
                             "gateway, or wants one."));
}

TEST(TokenService, RenewsWhatAPersonHasGranted)
{
    Issuer issuer([](const ReceivedRequest &request) {
        return json(200,
                    request.body.contains("refresh_token=r1")
                        ? R"({"access_token":"t2","refresh_token":"r2"})"
                        : R"({"access_token":"t3"})");
    });
    ArchiveSignIn signIn = issuer.signIn();
    signIn.secret.clear();
    TokenService service = issuer.service(signIn);

    const OAuthTokens first = service.renew(QStringLiteral("r1"));
    const OAuthTokens second = service.renew(first.refresh);

    EXPECT_EQ(first.access.value, "t2");
    EXPECT_EQ(first.refresh, QStringLiteral("r2"));
    EXPECT_EQ(second.access.value, "t3");
    EXPECT_EQ(second.refresh, QStringLiteral("r2")); // it stays where none comes
    const QUrlQuery form = formOf(issuer.server.requests().value(0));
    EXPECT_EQ(value(form, "grant_type"), QStringLiteral("refresh_token"));
    EXPECT_EQ(value(form, "client_id"), QStringLiteral("gate:way"));
}

TEST(TokenService, CallsARefusedRenewalTheEndOfTheSession)
{
    Issuer issuer([](const ReceivedRequest &) { return json(400, R"({"error":"invalid_grant"})"); });
    TokenService service = issuer.service(issuer.signIn());

    const auto error = errorOf<QrnErrorResponse>([&service] { service.renew(QStringLiteral("r1")); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::sessionInvalid);
    EXPECT_TRUE(error->message->contains(QStringLiteral("127.0.0.1")));
    EXPECT_FALSE(error->message->contains(QStringLiteral("r1")));
}

TEST(TokenService, SignsAStatementInPlaceOfASecret)
{
    for (const int bits : {0, 2048}) {
        Issuer issuer([](const ReceivedRequest &) { return json(200, kToken); });
        ArchiveSignIn signIn = issuer.signIn(SecretIn::assertion);
        const PemSample sample = makePemSample(issuer.clock.now(), issuer.clock.now(), bits);
        signIn.secret = QString::fromLatin1(sample.key);

        issuer.service(signIn).fetch();

        const QUrlQuery form = formOf(issuer.server.requests().value(0));
        EXPECT_EQ(value(form, "client_assertion_type"),
                  QStringLiteral("urn:ietf:params:oauth:client-assertion-type:jwt-bearer"));
        const QByteArray statement = value(form, "client_assertion").toLatin1();
        EXPECT_TRUE(isSignedBy(sample.key, statement));
        const QByteArray claims = QByteArray::fromBase64(
            statement.split('.').value(1), QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
        const QJsonObject said = QJsonDocument::fromJson(claims).object();
        EXPECT_EQ(said.value(QStringLiteral("sub")).toString(), QStringLiteral("gate:way"));
        EXPECT_EQ(said.value(QStringLiteral("aud")).toString(), signIn.client.tokenEndpoint);
        EXPECT_EQ(said.value(QStringLiteral("iat")).toInteger(), issuer.clock.now().toSecsSinceEpoch());
        EXPECT_FALSE(issuer.server.requests().value(0).body.contains("PRIVATE"));
    }
}

TEST(TokenService, AsksTheIssuerOnceWhereTokensAreGivenOut)
{
    QByteArray base;
    Issuer issuer([&base](const ReceivedRequest &request) {
        return request.is("GET", "/realm/.well-known/openid-configuration")
                   ? json(200,
                          R"({"issuer":")" + base + R"(/realm/","token_endpoint":")" + base + R"(/give"})")
                   : json(200, kToken);
    });
    base = issuer.server.url().toEncoded();
    TokenService service = issuer.service(issuer.byIssuer());

    service.fetch();
    service.fetch();

    ASSERT_EQ(issuer.server.requests().size(), 3);
    EXPECT_TRUE(issuer.server.requests().at(1).is("POST", "/give"));
    EXPECT_TRUE(issuer.server.requests().at(2).is("POST", "/give"));
}

TEST(TokenService, AsksTheIssuerAgainAfterWhatItNamedHasFailed)
{
    QByteArray base;
    bool hasMoved = false;
    Issuer issuer([&](const ReceivedRequest &request) {
        if (request.method == "GET") {
            return json(200,
                        R"({"issuer":")" + base + R"(/realm","token_endpoint":")" + base +
                            (hasMoved ? R"(/new"})" : R"(/old"})"));
        }
        return request.is("POST", "/old") ? ScriptedHttpServer::answer(410) : json(200, kToken);
    });
    base = issuer.server.url().toEncoded();
    TokenService service = issuer.service(issuer.byIssuer());
    EXPECT_THROW(service.fetch(), AFError);

    hasMoved = true;

    EXPECT_EQ(service.fetch().value, "t1");
}

TEST(TokenService, TakesARefusalWithoutItsReasonForSomebodyElses)
{
    for (const int status : {400, 401, 403}) {
        const AFError error = failureWith(json(status, R"({"message":"Forbidden"})"));
        EXPECT_EQ(error.noAnswer, NoAnswer::signInUnavailable) << status;
    }
}

TEST(TokenService, FindsAConfigurationOfPlainOAuth)
{
    QByteArray base;
    Issuer issuer([&base](const ReceivedRequest &request) {
        if (request.is("GET", "/.well-known/oauth-authorization-server/realm")) {
            return json(200, R"({"issuer":")" + base + R"(/realm","token_endpoint":")" + base + R"(/give"})");
        }
        return request.method == "GET" ? ScriptedHttpServer::answer(404) : json(200, kToken);
    });
    base = issuer.server.url().toEncoded();

    EXPECT_EQ(issuer.service(issuer.byIssuer()).fetch().value, "t1");
}

TEST(TokenService, SendsNoSecretWhereAnotherIssuersConfigurationPoints)
{
    Issuer issuer([](const ReceivedRequest &) {
        return json(200,
                    R"({"issuer":"https://evil.example","token_endpoint":"https://evil.example/token"})");
    });
    TokenService service = issuer.service(issuer.byIssuer());

    const std::optional<AFError> error = errorOf<AFError>([&service] { service.fetch(); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::signInUnavailable);
    EXPECT_EQ(issuer.server.requests().size(), 1);
}

TEST(TokenService, SendsNoSecretOverPlainHttpToAnotherMachine)
{
    Issuer issuer([](const ReceivedRequest &) { return json(200, kToken); });
    ArchiveSignIn signIn = issuer.signIn();
    signIn.client.tokenEndpoint = QStringLiteral("http://id.example/token");
    TokenService service = issuer.service(signIn);

    const std::optional<AFError> error = errorOf<AFError>([&service] { service.fetch(); });

    ASSERT_TRUE(error);
    EXPECT_TRUE(error->localizedDescription.contains(QStringLiteral("https")));
}

TEST(TokenService, CallsAWrongSecretRefused)
{
    Issuer issuer([](const ReceivedRequest &) { return json(401, R"({"error":"invalid_client"})"); });
    TokenService service = issuer.service(issuer.signIn());

    const std::optional<QrnErrorResponse> error = errorOf<QrnErrorResponse>([&service] { service.fetch(); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::credentialsRefused);
    EXPECT_EQ(error->message,
              QStringLiteral("The sign-in service at 127.0.0.1 refused the client id or its secret."));
}

TEST(TokenService, TellsByHowMuchTheClockIsOffWhenASignedStatementIsRefused)
{
    Issuer issuer([](const ReceivedRequest &) {
        return json(400, R"({"error":"invalid_client"})", "Date: Thu, 01 Jan 2026 12:10:00 GMT\r\n");
    });
    ArchiveSignIn signIn = issuer.signIn(SecretIn::assertion);
    signIn.secret = QString::fromLatin1(makePemSample(issuer.clock.now(), issuer.clock.now()).key);
    TokenService service = issuer.service(signIn);

    const std::optional<QrnErrorResponse> error = errorOf<QrnErrorResponse>([&service] { service.fetch(); });

    ASSERT_TRUE(error);
    EXPECT_TRUE(error->message->contains(QStringLiteral("by 600 seconds"))) << error->message->toStdString();
}

TEST(TokenService, CallsWhateverElseItGetsAMatterOfTheMoment)
{
    const QByteArray page = "<html>sign in here</html>";
    for (const QByteArray &answer : {ScriptedHttpServer::answer(200, "text/html", page),
                                     ScriptedHttpServer::answer(401, "text/html", page),
                                     ScriptedHttpServer::answer(404),
                                     json(200, R"({"access_token":"two words"})"),
                                     json(200, R"({"access_token":"x","token_type":"mac"})"),
                                     json(200, "[]"),
                                     json(302, "{}", "Location: https://evil.example/\r\n"),
                                     QByteArray()}) {
        const AFError error = failureWith(answer);
        EXPECT_EQ(error.noAnswer, NoAnswer::signInUnavailable) << answer.toStdString();
        EXPECT_EQ(error.responseCode, std::nullopt);
        EXPECT_TRUE(error.localizedDescription.contains(QStringLiteral("127.0.0.1")));
        EXPECT_FALSE(error.localizedDescription.contains(QStringLiteral("a secret")));
    }
}

TEST(TokenService, LeavesABusyServiceAloneForAsLongAsItAsks)
{
    const AFError error = failureWith(json(503, "{}", "Retry-After: 90\r\n"));

    EXPECT_EQ(error.retryAfter, std::chrono::seconds(90));
}

} // namespace gateway::cloud_client::testing
