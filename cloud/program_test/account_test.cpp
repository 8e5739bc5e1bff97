#include "cloud/program_test/cloud_fixture.h"

#include <QtCore/QDateTime>

namespace gateway::cloud::testing {
namespace {

class AccountService : public CloudTest
{
protected:
    static QJsonObject credentials(const QString &password)
    {
        return {{QStringLiteral("email"), kEmail},
                {QStringLiteral("password"), password},
                {QStringLiteral("otp"), QJsonValue()}};
    }
};

const QString kLogin = QStringLiteral("/api/v1/auth/login");
const QString kToken = QStringLiteral("/api/v1/auth/token");
const QString kUser = QStringLiteral("/api/v1/user");
const QString kTermsStatus = QStringLiteral("/api/v1/terms/status");

TEST_F(AccountService, AnswersAPingWithoutASession)
{
    EXPECT_EQ(client().get(QStringLiteral("/api/v1/ping")).status, 204);
}

TEST_F(AccountService, SignsInWithTheRightPasswordOnly)
{
    const HttpAnswer good = client().post(kLogin, credentials(kPassword));
    const HttpAnswer bad = client().post(kLogin, credentials(QStringLiteral("other")));

    EXPECT_EQ(good.status, 200);
    EXPECT_FALSE(good.object().value(QStringLiteral("token")).toString().isEmpty());
    EXPECT_GT(good.object().value(QStringLiteral("userId")).toInt(), 0);
    EXPECT_GT(QDateTime::fromString(good.object().value(QStringLiteral("expiresAt")).toString(), Qt::ISODate),
              QDateTime::currentDateTimeUtc());
    EXPECT_EQ(bad.status, 401);
    EXPECT_EQ(bad.kind(), 1);
    EXPECT_EQ(bad.headers.value("content-type"), "application/problem+json");
}

TEST_F(AccountService, SaysWhatIsWrongWithARequestItCantRead)
{
    const HttpAnswer broken = client().send("POST", kLogin, "application/json", "{\"email\":");
    const HttpAnswer incomplete = client().post(kLogin, {{QStringLiteral("email"), kEmail}});
    const HttpAnswer huge = client().send("POST", kLogin, "application/json", QByteArray(2'000'000, ' '));

    EXPECT_EQ(broken.status, 400);
    EXPECT_EQ(broken.kind(), 3);
    EXPECT_EQ(incomplete.status, 422);
    EXPECT_EQ(incomplete.kind(), 3);
    EXPECT_EQ(huge.status, 413);
    EXPECT_EQ(client().get(QStringLiteral("/api/v1/nothing")).kind(), 6);
    EXPECT_EQ(client().get(QStringLiteral("/elsewhere")).status, 404);
}

TEST_F(AccountService, HoldsASessionUntilSigningOut)
{
    HttpClient session = signedIn();

    EXPECT_EQ(session.get(kToken).status, 200);
    EXPECT_EQ(session.post(QStringLiteral("/api/v1/auth/logout"), {}).status, 204);

    EXPECT_EQ(session.get(kToken).status, 401);
    EXPECT_EQ(session.get(kUser).kind(), 0);
}

TEST_F(AccountService, EndsSessionsThatControlExpires)
{
    HttpClient session = signedIn();
    steer(QStringLiteral("tokens/expire"), {});

    EXPECT_EQ(session.get(kToken).kind(), 0);
    EXPECT_EQ(upload(session, {sampleFile()}).kind(), 0);
    EXPECT_EQ(instanceCount(), 0);
}

TEST_F(AccountService, GivesShortSessionsWhereControlSaysSo)
{
    steer(QStringLiteral("limits"), {{QStringLiteral("sessionSeconds"), 0}});

    EXPECT_EQ(signedIn().get(kToken).kind(), 0);
}

TEST_F(AccountService, KeepsSessionsAcrossACrash)
{
    const QString token =
        client().post(kLogin, credentials(kPassword)).object().value(QStringLiteral("token")).toString();
    m_cloud.kill();
    ASSERT_TRUE(m_cloud.start());

    EXPECT_EQ(client().withBearer(token).get(kToken).status, 200);
}

TEST_F(AccountService, KeepsTheWholeUserRecord)
{
    HttpClient session = signedIn();
    QJsonObject user = session.get(kUser).object();
    EXPECT_EQ(user.value(QStringLiteral("email")).toString(), kEmail);
    user.insert(QStringLiteral("firstName"), QStringLiteral("Ann"));
    user.insert(QStringLiteral("theme"), QJsonObject{{QStringLiteral("dark"), true}});

    const HttpAnswer changed = session.send("PUT", kUser, "application/json", QJsonDocument(user).toJson());

    EXPECT_EQ(changed.status, 200);
    EXPECT_EQ(changed.object(), user);
    EXPECT_EQ(session.get(kUser).object(), user);
}

TEST_F(AccountService, ChangesThePasswordOrSaysWhyNot)
{
    HttpClient session = signedIn();
    const QString path = QStringLiteral("/api/v1/user/password");
    const auto request = [](const QString &current, const QString &changed, const QString &confirmation) {
        return QJsonObject{{QStringLiteral("currentPassword"), current},
                           {QStringLiteral("newPassword"), changed},
                           {QStringLiteral("confirmPassword"), confirmation}};
    };
    const QString next = QStringLiteral("next");

    EXPECT_EQ(session.post(path, request(kPassword, next, QStringLiteral("nexx"))).kind(), 4);
    EXPECT_EQ(session.post(path, request(QStringLiteral("other"), next, next)).kind(), 5);
    EXPECT_EQ(session.post(path, request(kPassword, {}, {})).kind(), 3);
    EXPECT_EQ(session.post(path, request(kPassword, next, next)).status, 204);

    EXPECT_EQ(client().post(kLogin, credentials(kPassword)).status, 401);
    EXPECT_EQ(client().post(kLogin, credentials(next)).status, 200);
}

TEST_F(AccountService, TellsTheStorageFigures)
{
    steer(QStringLiteral("allowance"), {{QStringLiteral("allowanceKb"), 1000}});
    HttpClient session = signedIn();
    const QByteArray file = sampleFile();
    ASSERT_EQ(upload(session, {file}).status, 200);

    const QJsonObject storage = session.get(QStringLiteral("/api/v1/storage")).object();

    EXPECT_EQ(storage.value(QStringLiteral("allowanceKb")).toInt(), 1000);
    EXPECT_EQ(storage.value(QStringLiteral("usedKb")).toInt(), (file.size() + 1023) / 1024);
}

TEST_F(AccountService, AsksForNewTermsUntilTheyAreAccepted)
{
    HttpClient session = signedIn();
    EXPECT_FALSE(session.get(kTermsStatus).object().value(QStringLiteral("required")).toBool(true));
    steer(QStringLiteral("terms"),
          {{QStringLiteral("version"), QStringLiteral("1")},
           {QStringLiteral("text"), QStringLiteral("Be kind.")}});

    const QJsonObject first = session.get(kTermsStatus).object();
    EXPECT_TRUE(first.value(QStringLiteral("required")).toBool());
    EXPECT_EQ(first.value(QStringLiteral("requiredVersion")).toString(), QStringLiteral("1"));
    EXPECT_EQ(first.value(QStringLiteral("reason")).toString(),
              QStringLiteral("First-time acceptance required"));
    EXPECT_EQ(session.get(QStringLiteral("/api/v1/terms")).object().value(QStringLiteral("text")).toString(),
              QStringLiteral("Be kind."));
    const HttpAnswer refused = upload(session, {sampleFile()});
    EXPECT_EQ(refused.status, 403);
    EXPECT_EQ(refused.kind(), 2);

    const QJsonObject acceptance{{QStringLiteral("version"), QStringLiteral("1")}};
    EXPECT_EQ(session.post(QStringLiteral("/api/v1/terms/accept"), acceptance).status, 200);
    EXPECT_EQ(upload(session, {sampleFile()}).status, 200);
    steer(QStringLiteral("terms"), {{QStringLiteral("version"), QStringLiteral("2")}});
    EXPECT_EQ(session.get(kTermsStatus).object().value(QStringLiteral("reason")).toString(),
              QStringLiteral("T&Cs updated"));
    EXPECT_EQ(session.post(QStringLiteral("/api/v1/terms/accept"), acceptance).status, 422);
}

TEST_F(AccountService, TakesBackAnAcceptanceThatIsDeclined)
{
    HttpClient session = signedIn();
    steer(QStringLiteral("terms"),
          {{QStringLiteral("version"), QStringLiteral("1")},
           {QStringLiteral("reason"), QStringLiteral("Because.")}});
    const QJsonObject version{{QStringLiteral("version"), QStringLiteral("1")}};
    ASSERT_EQ(session.post(QStringLiteral("/api/v1/terms/accept"), version).status, 200);

    EXPECT_EQ(session.post(QStringLiteral("/api/v1/terms/decline"), version).status, 204);

    const QJsonObject status = session.get(kTermsStatus).object();
    EXPECT_TRUE(status.value(QStringLiteral("required")).toBool());
    EXPECT_EQ(status.value(QStringLiteral("reason")).toString(), QStringLiteral("Because."));
}

TEST_F(AccountService, KeepsEachAnswerToTheTermsAsItCame)
{
    HttpClient session = signedIn();
    steer(QStringLiteral("terms"), {{QStringLiteral("version"), QStringLiteral("1")}});
    const QJsonObject acceptance{{QStringLiteral("version"), QStringLiteral("1")},
                                 {QStringLiteral("deviceName"), QStringLiteral("desk")}};
    const QJsonObject outdated{{QStringLiteral("version"), QStringLiteral("0")}};

    EXPECT_EQ(session.post(QStringLiteral("/api/v1/terms/accept"), outdated).status, 422);
    EXPECT_EQ(session.post(QStringLiteral("/api/v1/terms/accept"), acceptance).status, 200);
    EXPECT_EQ(session.post(QStringLiteral("/api/v1/terms/decline"), outdated).status, 204);

    const QJsonArray answers = control(QStringLiteral("terms/answers")).array();
    ASSERT_EQ(answers.size(), 2);
    EXPECT_EQ(answers[0][u"email"].toString(), kEmail);
    EXPECT_EQ(answers[0][u"answer"].toString(), QStringLiteral("accepted"));
    EXPECT_EQ(answers[0][u"request"].toObject(), acceptance);
    EXPECT_EQ(answers[1][u"answer"].toString(), QStringLiteral("declined"));
    EXPECT_FALSE(session.get(kTermsStatus).object().value(QStringLiteral("required")).toBool(true));
}

TEST_F(AccountService, TellsTheVersionPolicyWithoutASession)
{
    steer(QStringLiteral("versions"),
          {{QStringLiteral("minimumVersion"), QStringLiteral("2.0")},
           {QStringLiteral("latestVersion"), QStringLiteral("2.1")},
           {QStringLiteral("minimumOs"), QStringLiteral("12")}});

    const QJsonObject policy =
        client().get(QStringLiteral("/api/v1/versions/policy?platform=linux&os=12")).object();

    EXPECT_EQ(policy.value(QStringLiteral("minimumVersion")).toString(), QStringLiteral("2.0"));
    EXPECT_EQ(policy.value(QStringLiteral("latestVersion")).toString(), QStringLiteral("2.1"));
    EXPECT_EQ(policy.value(QStringLiteral("minimumOs")).toString(), QStringLiteral("12"));
}

TEST_F(AccountService, KeepsABugReportWithItsAttachments)
{
    const QByteArray body =
        "--r\r\nContent-Disposition: form-data; name=\"report\"\r\n"
        "Content-Type: application/json\r\n\r\n{\"description\":\"It broke.\"}\r\n"
        "--r\r\nContent-Disposition: form-data; name=\"attachment\"; filename=\"../a.dcm\"\r\n\r\n"
        "some bytes\r\n--r--\r\n";
    HttpClient session = signedIn();

    const HttpAnswer answer =
        session.send("POST", QStringLiteral("/api/v1/bug-reports"), "multipart/form-data; boundary=r", body);

    EXPECT_EQ(answer.status, 201);
    const QJsonObject report = control(QStringLiteral("bug-reports")).array().at(0).toObject();
    EXPECT_EQ(report.value(QStringLiteral("description")).toString(), QStringLiteral("It broke."));
    const QJsonObject attachment = report.value(QStringLiteral("attachments")).toArray().at(0).toObject();
    EXPECT_EQ(attachment.value(QStringLiteral("fileName")).toString(), QStringLiteral("../a.dcm"));
    EXPECT_EQ(attachment.value(QStringLiteral("bytes")).toInt(), 10);
    EXPECT_EQ(filesIn(QStringLiteral("bug-reports")), 2);
}

TEST_F(AccountService, KeepsNothingOfABrokenBugReport)
{
    const QByteArray attachment =
        "--r\r\nContent-Disposition: form-data; name=\"attachment\"\r\n\r\nbytes\r\n--r";
    const QString path = QStringLiteral("/api/v1/bug-reports");
    HttpClient session = signedIn();

    EXPECT_EQ(session.send("POST", path, "multipart/form-data; boundary=r", attachment + "--").status, 400);
    EXPECT_EQ(session.send("POST", path, "multipart/form-data; boundary=r", attachment).status, 400);
    EXPECT_EQ(session.send("POST", path, "text/plain", "hello").status, 415);
    EXPECT_EQ(client().send("POST", path, "multipart/form-data; boundary=r", attachment + "--").kind(), 0);

    EXPECT_EQ(filesIn(QStringLiteral("bug-reports")), 0);
}

} // namespace
} // namespace gateway::cloud::testing
