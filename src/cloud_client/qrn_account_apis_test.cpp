#include "cloud_client/network_json.h"
#include "cloud_client/qrn_authentication_api.h"
#include "cloud_client/qrn_bug_report_api.h"
#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "cloud_client/qrn_status_api.h"
#include "cloud_client/qrn_user_api.h"
#include "cloud_client/qrn_versions_api.h"
#include "cloud_client/testing/client_fixture.h"
#include "cloud_client/testing/sample_files.h"

#include <QtCore/QTimeZone>

#include <gtest/gtest.h>

namespace gateway::cloud_client::testing {

namespace {

const QString kDevice = QStringLiteral("DEVICE-1");

QrnLoginRequest loginRequest(const QString &email, const QString &password)
{
    return {email,
            password,
            std::nullopt,
            QStringLiteral("macOS"),
            kDevice,
            std::nullopt,
            QrnUserDeviceRequest(std::nullopt, kDevice, QStringLiteral("1.2.3"))};
}

ScriptedHttpServer::Handler alwaysJson(const QByteArray &body)
{
    return
        [body](const ReceivedRequest &) { return ScriptedHttpServer::answer(200, "application/json", body); };
}

QVariantMap sentTo(const ScriptedService &service)
{
    return parseNetworkJson(service.server.requests().last().body).value_or(QVariant()).toMap();
}

QString member(const QVariantMap &map, const char *name)
{
    return map.value(QString::fromLatin1(name)).toString();
}

} // namespace

TEST(AccountApis, TakeThePageOfANetworkForNoAnswer)
{
    ScriptedService service([](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(200, "text/html", "<html><h1>Welcome to our hotel</h1></html>");
    });
    const auto isRefused = [](const auto &call) {
        const auto error = errorOf<AFError>(call);
        return error && error->localizedDescription.contains(QStringLiteral("A web page came from"));
    };

    EXPECT_TRUE(isRefused([&] { QrnUserAPI(service.client).changePassword({{}, {}, {}}); }));
    EXPECT_TRUE(isRefused([&] { QrnBugReportAPI(service.client).send({}, {}); }));
    EXPECT_TRUE(isRefused([&] { QrnStatusAPI(service.client).ping(); }));
    EXPECT_TRUE(
        isRefused([&] { QrnQuorinCloudTermsAPI(service.client).decline({QStringLiteral("3"), {}}); }));
}

TEST(Authentication, KeepsTheOldSessionWhereANewOneWasGivenUp)
{
    ScriptedService service(alwaysJson(R"({"token": "secret", "userId": 42})"));
    service.client.networkSettings().setToken(QStringLiteral("old"));
    QrnLoginRequest request = loginRequest(QStringLiteral("a@b.example"), QStringLiteral("pw"));
    ASSERT_TRUE(request.choice.giveUp());

    EXPECT_TRUE(QrnAuthenticationAPI(service.client).login(request).isGivenUp);
    EXPECT_EQ(service.client.networkSettings().token(), QStringLiteral("old"));
}

TEST(Authentication, SignsInAndKeepsTokenAndUserId)
{
    ScriptedService service(
        alwaysJson(R"({"token": "secret", "userId": 42, "expiresAt": "2030-01-01T00:00:00Z"})"));
    service.client.networkSettings().setToken(QStringLiteral("stale"));

    QrnAuthenticationAPI(service.client)
        .login(loginRequest(QStringLiteral("a@b.example"), QStringLiteral(" pw ")));

    EXPECT_EQ(service.client.networkSettings().token(), QStringLiteral("secret"));
    EXPECT_EQ(service.client.networkSettings().userId(), 42);
    const ReceivedRequest request = service.server.requests().first();
    EXPECT_TRUE(request.is("POST", "/api/v1/auth/login"));
    EXPECT_FALSE(request.headers.contains("authorization"));
    const QVariantMap sent = sentTo(service);
    EXPECT_EQ(member(sent, "email"), QStringLiteral("a@b.example"));
    EXPECT_EQ(member(sent, "password"), QStringLiteral(" pw "));
    EXPECT_EQ(member(sent, "platform"), QStringLiteral("macOS"));
    EXPECT_EQ(member(sent, "deviceId"), kDevice);
    EXPECT_EQ(sent.value(QStringLiteral("otp")).typeId(), QMetaType::Nullptr);
    EXPECT_EQ(member(sent.value(QStringLiteral("device")).toMap(), "clientVersion"), QStringLiteral("1.2.3"));
}

TEST(Authentication, HasStoredTheSessionByTheTimeItTellsOfIt)
{
    ScriptedService service(alwaysJson(R"({"token": "secret", "userId": 42})"));
    QrnAuthenticationAPI api(service.client);

    api.login(loginRequest(QStringLiteral("a@b.example"), QStringLiteral("pw")));
    NetworkSettings next(service.store, sessionKey(service.client.configuration()));
    next.waitUntilStored();
    EXPECT_EQ(next.token(), QStringLiteral("secret"));

    api.logout();
    EXPECT_TRUE(service.store.isEmpty());
}

TEST(Authentication, LeavesAnOlderSessionAloneWhenSigningInFails)
{
    ScriptedService service([](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(
            401, "application/problem+json", R"({"detail": "Wrong.", "kind": 1})");
    });
    service.client.networkSettings().setToken(QStringLiteral("older"));

    const auto error = errorOf<QrnErrorResponse>([&service] {
        QrnAuthenticationAPI(service.client).login(loginRequest(QStringLiteral("a"), QStringLiteral("b")));
    });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::credentialsRefused);
    EXPECT_EQ(service.client.networkSettings().token(), QStringLiteral("older"));
}

TEST(Authentication, TakesNoAnswerWithoutATokenForASignIn)
{
    for (const char *body : {"{}", "{\"token\": \"\"}", "{\"token\": 5}"}) {
        ScriptedService service(alwaysJson(body));

        EXPECT_TRUE(errorOf<AFError>([&service] {
            QrnAuthenticationAPI(service.client)
                .login(loginRequest(QStringLiteral("a"), QStringLiteral("b")));
        })) << body;
        EXPECT_FALSE(service.client.networkSettings().token());
    }
}

TEST(Authentication, ForgetsTheSessionOnceTheServiceHasEndedIt)
{
    bool isUp = false;
    ScriptedService service(
        [&isUp](const ReceivedRequest &) { return ScriptedHttpServer::answer(isUp ? 204 : 503); });
    service.client.networkSettings().setToken(QStringLiteral("secret"), std::nullopt, 42);
    QrnAuthenticationAPI api(service.client);

    EXPECT_TRUE(errorOf<AFError>([&api] { api.logout(); }));
    EXPECT_TRUE(service.client.networkSettings().token());
    isUp = true;
    api.logout();

    EXPECT_FALSE(service.client.networkSettings().token());
    EXPECT_FALSE(service.client.networkSettings().userId());
    EXPECT_EQ(service.server.requests().last().headers.value("authorization"), "Bearer secret");
}

TEST(UserAccount, SendsBackMembersThatItDoesNotKnow)
{
    ScriptedService service(alwaysJson(R"({"id": 42, "email": "a@b.example", "title": "Dr", "middleName": "X",
        "workplaceName": null, "workplaces": [{"id": 1, "name": "East", "isPrimary": false},
        {"id": 2, "name": "West", "isPrimary": true}], "colour": {"deep": [1, 2.5, true, null]}})"));
    QrnUserAPI api(service.client);

    const QrnUser user = api.getUser();
    QrnUpdateUserRequest update(user);
    update.title = QStringLiteral("Prof");
    update.middleName = std::nullopt;
    api.updateUser(update);

    EXPECT_EQ(user.id, 42);
    EXPECT_EQ(user.email, QStringLiteral("a@b.example"));
    EXPECT_FALSE(user.workplaceName);
    EXPECT_EQ(
        user.workplaces,
        (QList<QrnUserWorkplace>{{1, QStringLiteral("East"), false}, {2, QStringLiteral("West"), true}}));
    EXPECT_TRUE(service.server.requests().last().is("PUT", "/api/v1/user"));
    const QVariantMap sent = sentTo(service);
    EXPECT_EQ(sent.value(QStringLiteral("colour")), user.record.value(QStringLiteral("colour")));
    EXPECT_EQ(sent.value(QStringLiteral("workplaces")), user.record.value(QStringLiteral("workplaces")));
    EXPECT_EQ(member(sent, "title"), QStringLiteral("Prof"));
    EXPECT_EQ(sent.value(QStringLiteral("middleName")).typeId(), QMetaType::Nullptr);
}

TEST(UserAccount, FailsForARecordWithoutAnId)
{
    ScriptedService service(alwaysJson(R"({"email": "a@b.example"})"));

    EXPECT_TRUE(errorOf<AFError>([&service] { QrnUserAPI(service.client).getUser(); }));
}

TEST(UserAccount, ChangesThePasswordWithTheTextsAsTyped)
{
    ScriptedService service([](const ReceivedRequest &) { return ScriptedHttpServer::answer(204); });

    QrnUserAPI(service.client)
        .changePassword({QStringLiteral(" old "), QStringLiteral("new"), QStringLiteral("neu")});

    EXPECT_TRUE(service.server.requests().first().is("POST", "/api/v1/user/password"));
    EXPECT_EQ(member(sentTo(service), "currentPassword"), QStringLiteral(" old "));
    EXPECT_EQ(member(sentTo(service), "confirmPassword"), QStringLiteral("neu"));
}

TEST(UserAccount, ReadsTheStorageFiguresAndTheTokensEnd)
{
    ScriptedService service(
        alwaysJson(R"({"allowanceKb": 1048576, "usedKb": 12.5, "expiresAt": "2030-01-01T00:00:00Z"})"));
    QrnUserAPI api(service.client);

    const QrnCloudLimitResponse limit = api.quorinCloudStorageLimit();
    api.tokenExpiration();

    EXPECT_EQ(limit.allowanceKb, 1048576.0F);
    EXPECT_EQ(limit.usedKb, 12.5F);
    EXPECT_TRUE(service.server.requests().last().is("GET", "/api/v1/auth/token"));
}

TEST(CloudTerms, AsksReadsAcceptsAndDeclines)
{
    ScriptedService service(
        alwaysJson(R"({"required": true, "requiredVersion": "3", "reason": "T&Cs updated", "version": "3",
                       "text": "Be kind.", "acceptedVersion": "3"})"));
    QrnQuorinCloudTermsAPI api(service.client);
    const QDateTime noon(QDate(2026, 1, 2), QTime(12, 0), QTimeZone(3600));

    EXPECT_TRUE(api.status().required);
    EXPECT_EQ(api.status().reason, QStringLiteral("T&Cs updated"));
    EXPECT_EQ(api.terms().text, QStringLiteral("Be kind."));
    api.accept({QStringLiteral("3"),
                noon,
                kDevice,
                QStringLiteral("desk"),
                QStringLiteral("os"),
                QStringLiteral("1")});
    EXPECT_EQ(member(sentTo(service), "clientTimestamp"), QStringLiteral("2026-01-02T11:00:00.000Z"));
    EXPECT_EQ(member(sentTo(service), "deviceUid"), kDevice);
    api.decline({QStringLiteral("3"), noon});
    EXPECT_TRUE(service.server.requests().last().is("POST", "/api/v1/terms/decline"));
}

TEST(CloudTerms, TakesAStatusWithoutAnAnswerForNone)
{
    ScriptedService service(alwaysJson("{}"));

    EXPECT_TRUE(errorOf<AFError>([&service] { QrnQuorinCloudTermsAPI(service.client).status(); }));
}

TEST(Versions, CompareByDottedNumbers)
{
    const auto compare = [](const char *left, const char *right) {
        return compareVersions(QString::fromLatin1(left), QString::fromLatin1(right));
    };
    EXPECT_EQ(compare("1.9", "1.10"), std::strong_ordering::less);
    EXPECT_EQ(compare("1.0", "1"), std::strong_ordering::equal);
    EXPECT_EQ(compare("2", "1.99.99"), std::strong_ordering::greater);
    EXPECT_EQ(compare("1.2.3-beta", "1.2.3"), std::strong_ordering::equal);
    EXPECT_EQ(compare("", "0.0.1"), std::strong_ordering::less);
}

TEST(Versions, TurnThePolicyIntoThreeAnswers)
{
    const auto check = [](const QByteArray &policy) {
        ScriptedService service(alwaysJson(policy));
        return QrnVersionsAPI(service.client).checkVersions();
    };

    EXPECT_EQ(check(R"({"minimumVersion": "999.0", "latestVersion": "999.1", "minimumOs": "0"})"),
              (QrnVersionsResponse{true, true, false}));
    EXPECT_EQ(check(R"({"minimumVersion": "0.0.1", "latestVersion": "999.1"})"),
              (QrnVersionsResponse{false, true, false}));
    EXPECT_EQ(check(R"({"minimumVersion": "0.0.1", "latestVersion": ")" QUORIN_VERSION R"("})"),
              (QrnVersionsResponse{false, false, false}));
    EXPECT_EQ(check("{}"), QrnVersionsResponse{});
}

TEST(BugReports, SendTheReportAndItsFiles)
{
    ScriptedService service([](const ReceivedRequest &) { return ScriptedHttpServer::answer(201); });
    SampleFiles files;
    QList<double> fractions;

    QrnBugReportAPI(service.client)
        .send(
            {true,
             false,
             true,
             QStringLiteral("It \"broke\"."),
             {files.file(QStringLiteral("a\"b.dcm"), "bytes")},
             kDevice},
            [&fractions](const UploadProgress &progress) { fractions.append(progress.fractionCompleted()); });

    const ReceivedRequest request = service.server.requests().first();
    EXPECT_TRUE(request.is("POST", "/api/v1/bug-reports"));
    EXPECT_TRUE(request.headers.value("content-type").startsWith("multipart/form-data; boundary="));
    EXPECT_TRUE(request.body.contains("name=\"report\""));
    EXPECT_TRUE(request.body.contains("\"isReproducible\":true"));
    EXPECT_TRUE(request.body.contains("name=\"attachment\"; filename=\"a_b.dcm\""));
    EXPECT_TRUE(request.body.contains("\r\n\r\nbytes\r\n--"));
    ASSERT_FALSE(fractions.isEmpty());
    EXPECT_DOUBLE_EQ(fractions.last(), 1.0);
}

TEST(BugReports, FailWithThePlainNameOfAFileThatHasGone)
{
    ScriptedService service([](const ReceivedRequest &) { return ScriptedHttpServer::answer(201); });
    QrnBugReportRequest report;
    report.attachments = {QUrl(QStringLiteral("file:///nowhere/gone.dcm"))};

    const auto error = errorOf<AFError>([&] { QrnBugReportAPI(service.client).send(report, {}); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->localizedDescription, QStringLiteral("The file \"gone.dcm\" can't be read."));
}

namespace {

/// A plain archive that knows one pair, or asks for none.
ScriptedHttpServer::Handler archive(bool asksForSignIn, const bool *isClosed = nullptr)
{
    return [asksForSignIn, isClosed](const ReceivedRequest &request) {
        const bool isKnown =
            request.headers.value("authorization") == "Basic " + QByteArray("ann:p:w").toBase64();
        const bool isOpen = !asksForSignIn || (isKnown && (isClosed == nullptr || !*isClosed));
        return isOpen ? ScriptedHttpServer::answer(200, "application/dicom+json", "[]")
                      : ScriptedHttpServer::answer(401);
    };
}

} // namespace

TEST(PlainArchive, TakesNoSessionThatWasGivenUp)
{
    ScriptedService service(archive(true), CloudKind::dicomweb);
    QrnLoginRequest request = loginRequest(QStringLiteral("ann"), QStringLiteral("p:w"));
    ASSERT_TRUE(request.choice.giveUp());

    EXPECT_TRUE(QrnAuthenticationAPI(service.client).login(request).isGivenUp);
    EXPECT_FALSE(service.client.networkSettings().token());
}

TEST(PlainArchive, SignsInByBasicCheckedWithOneQuery)
{
    bool isClosed = false;
    ScriptedService service(archive(true, &isClosed), CloudKind::dicomweb);
    QrnAuthenticationAPI api(service.client);

    const auto error = errorOf<QrnErrorResponse>(
        [&api] { api.login(loginRequest(QStringLiteral("ann"), QStringLiteral("wrong"))); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::credentialsRefused);
    EXPECT_FALSE(service.client.networkSettings().token());

    api.login(loginRequest(QStringLiteral("ann"), QStringLiteral("p:w")));
    EXPECT_EQ(service.server.requests().last().target, "/studies?limit=1");
    EXPECT_TRUE(service.client.networkSettings().token());
    EXPECT_EQ(QrnUserAPI(service.client).getUser().email, QStringLiteral("ann"));
    QrnUserAPI(service.client).tokenExpiration();

    api.logout();
    EXPECT_FALSE(service.client.networkSettings().token());
}

TEST(PlainArchive, NeverTakesTheCredentialsAwayThatItRefuses)
{
    bool isClosed = false;
    ScriptedService service(archive(true, &isClosed), CloudKind::dicomweb);
    QrnAuthenticationAPI(service.client).login(loginRequest(QStringLiteral("ann"), QStringLiteral("p:w")));
    const NetworkSettings &settings = service.client.networkSettings();
    EXPECT_FALSE(settings.areCredentialsRefused());

    isClosed = true;
    const auto refused =
        errorOf<QrnErrorResponse>([&service] { QrnUserAPI(service.client).tokenExpiration(); });
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->kind, QrnErrorKind::credentialsRefused);
    EXPECT_TRUE(settings.areCredentialsRefused());
    EXPECT_TRUE(settings.token());

    isClosed = false;
    QrnUserAPI(service.client).tokenExpiration();
    EXPECT_FALSE(settings.areCredentialsRefused());
}

TEST(PlainArchive, WithoutSignInAcceptsAnyPairThatIsNotEmpty)
{
    ScriptedService service(archive(false), CloudKind::dicomweb);
    QrnAuthenticationAPI api(service.client);

    EXPECT_TRUE(errorOf<QrnErrorResponse>([&api] { api.login(loginRequest({}, QStringLiteral("x"))); }));
    EXPECT_TRUE(errorOf<QrnErrorResponse>([&api] { api.login(loginRequest(QStringLiteral("x"), {})); }));
    EXPECT_TRUE(errorOf<QrnErrorResponse>(
        [&api] { api.login(loginRequest(QStringLiteral("a:b"), QStringLiteral("x"))); }));
    api.login(loginRequest(QStringLiteral("anyone"), QStringLiteral("x")));

    EXPECT_TRUE(service.client.networkSettings().token());
}

TEST(PlainArchive, ThatTakesNoQueriesCanBeSignedInTo)
{
    for (const int status : {403, 404, 405, 501}) {
        ScriptedService service(
            [status](const ReceivedRequest &request) {
                return ScriptedHttpServer::answer(request.method == "POST" ? 400 : status);
            },
            CloudKind::dicomweb);

        const QrnLoginResponse response =
            QrnAuthenticationAPI(service.client)
                .login(loginRequest(QStringLiteral("ann"), QStringLiteral("x")));

        EXPECT_EQ(response.uncheckedStatus, status);
        EXPECT_TRUE(service.client.networkSettings().token());
        EXPECT_FALSE(errorOf<QuorinError>([&service] { QrnUserAPI(service.client).tokenExpiration(); }));
        EXPECT_FALSE(errorOf<QuorinError>([&service] { QrnStatusAPI(service.client).ping(); }));
    }
}

TEST(PlainArchive, IsNotReachedWhereNothingIsKnownOfQueriesAndOfStoring)
{
    for (const int status : {404, 405, 501}) {
        ScriptedService service(
            [status](const ReceivedRequest &) { return ScriptedHttpServer::answer(status); },
            CloudKind::dicomweb);

        const auto error = errorOf<AFError>([&service] { QrnStatusAPI(service.client).ping(); });

        ASSERT_TRUE(error) << status;
        EXPECT_EQ(error->noAnswer, NoAnswer::unusableAnswer);
        EXPECT_EQ(error->code, status);
        EXPECT_TRUE(service.server.requests().last().is("POST", "/studies"));
        EXPECT_FALSE(service.server.requests().last().body.contains("application/dicom\r\n"));
    }
}

TEST(PlainArchive, IsNothingThatSendsAWebPageOrSomethingElse)
{
    const std::vector<std::pair<QByteArray, QByteArray>> answers = {
        {"text/html", "<html>Welcome to our hotel</html>"},
        {"text/html", "[]"},
        {"application/dicom+json", "<html></html>"},
        {"application/json", "{\"status\": \"ok\"}"},
        {"", ""}};
    for (const auto &[type, body] : answers) {
        ScriptedService service(
            [&](const ReceivedRequest &) { return ScriptedHttpServer::answer(200, type, body); },
            CloudKind::dicomweb);

        const auto signIn = errorOf<AFError>([&service] {
            QrnAuthenticationAPI(service.client)
                .login(loginRequest(QStringLiteral("ann"), QStringLiteral("x")));
        });
        ASSERT_TRUE(signIn) << body.toStdString();
        EXPECT_EQ(signIn->noAnswer, NoAnswer::unusableAnswer);
        EXPECT_FALSE(service.client.networkSettings().token());
        EXPECT_TRUE(errorOf<AFError>([&service] { QrnStatusAPI(service.client).ping(); }));
    }
}

TEST(PlainArchive, IsAskedWithoutTheCredentialsThatItRefuses)
{
    bool isClosed = false;
    ScriptedService service(archive(true, &isClosed), CloudKind::dicomweb);
    QrnAuthenticationAPI(service.client).login(loginRequest(QStringLiteral("ann"), QStringLiteral("p:w")));
    QrnStatusAPI(service.client).ping();
    EXPECT_TRUE(service.server.requests().last().headers.contains("authorization"));

    isClosed = true;
    QrnStatusAPI(service.client).ping();
    QrnStatusAPI(service.client).ping();

    EXPECT_FALSE(service.server.requests().last().headers.contains("authorization"));
    isClosed = false;
    QrnUserAPI(service.client).tokenExpiration();
    EXPECT_FALSE(service.client.networkSettings().areCredentialsRefused());
}

TEST(PlainArchive, RefusesAPairThatCannotBeSent)
{
    ScriptedService service(archive(false), CloudKind::dicomweb);
    QrnAuthenticationAPI api(service.client);

    for (const QString &password : {QStringLiteral("a\nb"), QStringLiteral("a\x7f"), QString(5000, u'x')}) {
        EXPECT_TRUE(
            errorOf<QrnErrorResponse>([&] { api.login(loginRequest(QStringLiteral("ann"), password)); }));
    }
    EXPECT_TRUE(service.server.requests().isEmpty());
}

TEST(Authentication, RefusesATokenThatCannotBeSent)
{
    const QList<QByteArray> tokens = {"a\\nb", "a b", "\\u0000", "\u00e9", "\u263a", QByteArray(8000, 'x')};
    for (const QByteArray &token : tokens) {
        ScriptedService service(alwaysJson(R"({"userId": 42, "token": ")" + token + "\"}"));

        const auto error = errorOf<AFError>([&service] {
            QrnAuthenticationAPI(service.client)
                .login(loginRequest(QStringLiteral("a"), QStringLiteral("b")));
        });

        ASSERT_TRUE(error) << token.toStdString();
        EXPECT_TRUE(error->localizedDescription.contains(QStringLiteral("can't be sent")));
        EXPECT_FALSE(service.client.networkSettings().token());
    }
}

TEST(PlainArchive, CountsAsReachableWhenItAsksForASignIn)
{
    ScriptedService service(archive(true), CloudKind::dicomweb);
    ScriptedService broken([](const ReceivedRequest &) { return ScriptedHttpServer::answer(502); },
                           CloudKind::dicomweb);

    EXPECT_FALSE(errorOf<QuorinError>([&service] { QrnStatusAPI(service.client).ping(); }));
    EXPECT_EQ(errorOf<AFError>([&broken] { QrnStatusAPI(broken.client).ping(); })->responseCode, 502);
}

TEST(PlainArchive, OffersNothingOfAnAccount)
{
    ScriptedService service(archive(false), CloudKind::dicomweb);
    QrnUserAPI user(service.client);
    QrnQuorinCloudTermsAPI terms(service.client);

    EXPECT_FALSE(terms.status().required);
    EXPECT_EQ(QrnVersionsAPI(service.client).checkVersions(), QrnVersionsResponse{});
    EXPECT_TRUE(errorOf<QrnNotOffered>([&user] { user.quorinCloudStorageLimit(); }));
    EXPECT_TRUE(errorOf<QrnNotOffered>([&user] { user.updateUser(QrnUpdateUserRequest(QrnUser())); }));
    EXPECT_TRUE(errorOf<QrnNotOffered>([&user] { user.changePassword({}); }));
    EXPECT_TRUE(errorOf<QrnNotOffered>([&terms] { terms.terms(); }));
    EXPECT_EQ(errorOf<QrnNotOffered>([&service] {
                  QrnBugReportAPI(service.client).send({}, {});
              })->localizedDescription,
              QStringLiteral("This archive takes no bug reports."));
    EXPECT_TRUE(service.server.requests().isEmpty());
}

} // namespace gateway::cloud_client::testing
