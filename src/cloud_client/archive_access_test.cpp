#include "cloud_client/archive_session.h"
#include "cloud_client/qrn_authentication_api.h"
#include "cloud_client/qrn_stow_api.h"
#include "cloud_client/qrn_user_api.h"
#include "cloud_client/testing/client_fixture.h"
#include "cloud_client/testing/sample_files.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <atomic>

namespace gateway::cloud_client::testing {

namespace {

using namespace std::chrono_literals;
using Method = ArchiveSignIn::Method;

QrnLoginRequest loginBy(const ArchiveSignIn &signIn)
{
    QrnLoginRequest request{.email = {},
                            .password = {},
                            .otp = {},
                            .platform = {},
                            .deviceId = {},
                            .referrer = {},
                            .device = {std::nullopt, {}, {}}};
    request.archive = signIn;
    return request;
}

/// An archive that opens to one header, and beside it a service that gives out tokens: "t1", "t2" and so on.
class Archive
{
public:
    std::atomic<int> fetches = 0;
    std::atomic<bool> refusesClient = false;
    std::atomic<bool> hasEnded = false; ///< whoever granted access has withdrawn it
    std::atomic<int> goodToken = 0;     ///< the number of the one that opens; 0 for the newest
    std::atomic<int> refusal = 401;     ///< its status for any other

    ScriptedService service{[this](const ReceivedRequest &request) { return answer(request); },
                            CloudKind::dicomweb};

    void keep(const ArchiveSignIn &signIn) { service.client.networkSettings().setToken(sessionText(signIn)); }

    ArchiveSignIn oauth() const
    {
        ArchiveSignIn signIn;
        signIn.method = Method::clientCredentials;
        signIn.secret = QStringLiteral("s3cret");
        signIn.client.tokenEndpoint = service.server.url().toString() + QStringLiteral("/token");
        signIn.client.id = QStringLiteral("gateway");
        return signIn;
    }

    /// The sign-in of somebody who has entered a code, with what renews it: "r0", then "r1" and so on.
    ArchiveSignIn keepGranted()
    {
        ArchiveSignIn signIn = oauth();
        signIn.method = Method::device;
        signIn.secret.clear();
        service.client.networkSettings().setToken(sessionText(signIn), QStringLiteral("r0"));
        return signIn;
    }

    /// The headers with which images or queries came.
    QList<QByteArray> shown() const
    {
        QList<QByteArray> headers;
        for (const ReceivedRequest &request : service.server.requests()) {
            if (request.target != "/token") {
                headers.append(request.headers.value("authorization"));
            }
        }
        return headers;
    }

    QByteArray opens; ///< in place of a token that was given out; set before the first request

private:
    QByteArray answer(const ReceivedRequest &request)
    {
        if (request.target == "/token" && request.body.contains("refresh_token")) {
            const int number = fetches;
            if (hasEnded || !request.body.contains("refresh_token=r" + QByteArray::number(number))) {
                return ScriptedHttpServer::answer(400, "application/json", R"({"error":"invalid_grant"})");
            }
            const QByteArray next = QByteArray::number(++fetches);
            return ScriptedHttpServer::answer(200,
                                              "application/json",
                                              R"({"expires_in":300,"access_token":"t)" + next +
                                                  R"(","refresh_token":"r)" + next + "\"}");
        }
        if (request.target == "/token") {
            return refusesClient
                       ? ScriptedHttpServer::answer(401, "application/json", R"({"error":"invalid_client"})")
                       : ScriptedHttpServer::answer(
                             200,
                             "application/json",
                             R"({"token_type":"Bearer","expires_in":300,"access_token":"t)" +
                                 QByteArray::number(++fetches) + "\"}");
        }
        const int good = goodToken > 0 ? goodToken.load() : fetches.load();
        const QByteArray wanted = opens.isEmpty() ? "Bearer t" + QByteArray::number(good) : opens;
        if (request.headers.value("authorization") != wanted) {
            return ScriptedHttpServer::answer(refusal,
                                              "application/problem+json",
                                              R"({"detail":"Not with )" +
                                                  request.headers.value("authorization") + " and " +
                                                  request.headers.value("x-api-key") + "\"}");
        }
        return request.method == "POST" ? ScriptedHttpServer::answer(200, "application/dicom+json", kStored)
                                        : ScriptedHttpServer::answer(200, "application/dicom+json", "[]");
    }

    static constexpr auto kStored =
        R"({"00081199":{"vr":"SQ","Value":[{"00081155":{"vr":"UI","Value":["1.2.3"]}}]}})";
};

} // namespace

TEST(ArchiveAccess, ShowsAStaticToken)
{
    Archive archive;
    archive.opens = "Bearer abc";
    ArchiveSignIn signIn;
    signIn.method = Method::bearer;
    signIn.secret = QStringLiteral("abc");

    QrnAuthenticationAPI(archive.service.client).login(loginBy(signIn));

    EXPECT_EQ(archive.shown(), QList<QByteArray>{"Bearer abc"});
    EXPECT_EQ(archive.service.client.networkSettings().token(), sessionText(signIn));
}

TEST(ArchiveAccess, ReadsAChangedTokenFileAfterARefusalAndTriesOnceMore)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("token"));
    const auto write = [&path](const QByteArray &token) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(token + '\n') > 0);
    };
    Archive archive;
    archive.opens = "Bearer second";
    ArchiveSignIn signIn;
    signIn.method = Method::tokenFile;
    signIn.tokenFile = path;
    archive.keep(signIn);

    write("first");
    EXPECT_EQ(askArchive(archive.service.client).meaning, ArchiveAnswer::Meaning::signInWanted);
    EXPECT_TRUE(archive.service.client.networkSettings().areCredentialsRefused());
    write("second");
    EXPECT_NO_THROW(checkArchiveSession(archive.service.client));

    EXPECT_FALSE(archive.service.client.networkSettings().areCredentialsRefused());
    EXPECT_EQ(archive.shown(), (QList<QByteArray>{"Bearer first", "Bearer second"}));
}

TEST(ArchiveAccess, CallsAMissingTokenFileAMatterOfTheMoment)
{
    Archive archive;
    ArchiveSignIn signIn;
    signIn.method = Method::tokenFile;
    signIn.tokenFile = QStringLiteral("/nowhere/token");
    archive.keep(signIn);

    const auto error = errorOf<AFError>([&archive] { checkArchiveSession(archive.service.client); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::signInUnavailable);
    EXPECT_EQ(archive.shown().size(), 0);
}

TEST(ArchiveAccess, WaitsForNobodyToWriteAPipeInPlaceOfATokenFile)
{
    const QTemporaryDir folder;
    Archive archive;
    ArchiveSignIn signIn;
    signIn.method = Method::tokenFile;
    signIn.tokenFile = folder.filePath(QStringLiteral("token"));
    ASSERT_EQ(::mkfifo(signIn.tokenFile.toLocal8Bit().constData(), 0600), 0);
    archive.keep(signIn);

    const auto error = errorOf<AFError>([&archive] { checkArchiveSession(archive.service.client); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::signInUnavailable);
}

TEST(ArchiveAccess, FindsTheArchiveThereWhileNoTokenCanBeHad)
{
    Archive archive;
    ArchiveSignIn signIn;
    signIn.method = Method::tokenFile;
    signIn.tokenFile = QStringLiteral("/nowhere/token");
    archive.keep(signIn);

    EXPECT_EQ(askArchive(archive.service.client).meaning, ArchiveAnswer::Meaning::signInWanted);

    EXPECT_EQ(archive.shown(), QList<QByteArray>{QByteArray()});
    EXPECT_FALSE(archive.service.client.networkSettings().areCredentialsRefused());
}

TEST(ArchiveAccess, FetchesATokenForManyRequests)
{
    Archive archive;
    archive.keep(archive.oauth());

    for (int number = 0; number < 3; ++number) {
        EXPECT_EQ(askArchive(archive.service.client).meaning, ArchiveAnswer::Meaning::found);
    }

    EXPECT_EQ(archive.fetches, 1);
    EXPECT_FALSE(
        archive.service.server.requests().value(1).headers.value("authorization").contains("s3cret"));
}

TEST(ArchiveAccess, FetchesATokenBeforeTheOldOneEnds)
{
    Archive archive;
    archive.keep(archive.oauth());
    askArchive(archive.service.client);

    archive.service.clock.advance(240s);
    askArchive(archive.service.client);

    EXPECT_EQ(archive.shown(), (QList<QByteArray>{"Bearer t1", "Bearer t2"}));
}

TEST(ArchiveAccess, SendsAnUploadAgainWithANewTokenWhenTheOldOneWasRefused)
{
    SampleFiles files;
    Archive archive;
    archive.keep(archive.oauth());
    askArchive(archive.service.client);
    archive.goodToken = 2; // the first one was withdrawn

    QrnStowAPI(archive.service.client)
        .upload(archive.service.client.session(), identified(files.dicom("1.2.3", 2 << 20)), QString(), {});

    EXPECT_EQ(archive.fetches, 2);
    EXPECT_EQ(archive.shown(), (QList<QByteArray>{"Bearer t1", "Bearer t1", "Bearer t2"}));
    const QList<ReceivedRequest> requests = archive.service.server.requests();
    EXPECT_EQ(requests.last().bodySize, requests.at(2).bodySize);
    EXPECT_GT(requests.last().bodySize, 2 << 20);
}

TEST(ArchiveAccess, FetchesATokenAnewWhereTheArchiveDoesNotPermitWhatItPermittedByIt)
{
    SampleFiles files;
    Archive archive;
    archive.refusal = 403;
    archive.keep(archive.oauth());
    askArchive(archive.service.client);
    archive.goodToken = 2; // the first one has ended

    QrnStowAPI(archive.service.client)
        .upload(archive.service.client.session(), identified(files.dicom("1.2.3", 100)), QString(), {});

    EXPECT_EQ(archive.shown(), (QList<QByteArray>{"Bearer t1", "Bearer t1", "Bearer t2"}));
}

TEST(ArchiveAccess, BelievesThatAnAccountMayNot)
{
    Archive archive;
    archive.refusal = 403;
    archive.opens = "Bearer never";
    archive.keep(archive.oauth());

    for (int number = 0; number < 3; ++number) {
        EXPECT_EQ(askArchive(archive.service.client).status, 403);
    }

    EXPECT_EQ(archive.fetches, 1);
    EXPECT_FALSE(archive.service.client.networkSettings().areCredentialsRefused());
}

TEST(ArchiveAccess, TellsWhatAnArchiveSaysWithoutTheSecretsThatItRepeats)
{
    SampleFiles files;
    Archive archive;
    archive.refusal = 400;
    archive.opens = "Bearer never";
    ArchiveSignIn signIn = archive.oauth();
    signIn.extras.headers = {{"X-Api-Key", "k3y"}};
    archive.keep(signIn);

    const auto error = errorOf<QrnErrorResponse>([&] {
        QrnStowAPI(archive.service.client)
            .upload(archive.service.client.session(), identified(files.dicom("1.2.3", 100)), QString(), {});
    });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->message, QStringLiteral("Not with Bearer … and …"));
}

TEST(ArchiveAccess, TriesOnceAfterARefusalAndNoMore)
{
    Archive archive;
    archive.opens = "Bearer never";
    archive.keep(archive.oauth());

    EXPECT_EQ(askArchive(archive.service.client).meaning, ArchiveAnswer::Meaning::signInWanted);

    EXPECT_EQ(archive.shown().size(), 2);
    EXPECT_EQ(archive.fetches, 2);
    EXPECT_TRUE(archive.service.client.networkSettings().areCredentialsRefused());
}

TEST(ArchiveAccess, MarksTheSessionAsRefusedWhereNoTokenIsGivenOutForIt)
{
    Archive archive;
    archive.keep(archive.oauth());
    archive.refusesClient = true;

    const auto error = errorOf<QrnErrorResponse>([&archive] { checkArchiveSession(archive.service.client); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::credentialsRefused);
    EXPECT_TRUE(archive.service.client.networkSettings().areCredentialsRefused());
    EXPECT_EQ(archive.shown().size(), 0);
    EXPECT_TRUE(archive.service.client.networkSettings().token());
}

TEST(ArchiveAccess, RenewsWhatWasGrantedBeforeItEndsAndOnceAfterARefusal)
{
    Archive archive;
    const ArchiveSignIn signIn = archive.keepGranted();
    for (int number = 0; number < 3; ++number) {
        askArchive(archive.service.client);
    }
    EXPECT_EQ(archive.fetches, 1);

    archive.service.clock.advance(240s);
    askArchive(archive.service.client);
    archive.goodToken = 3; // what came is withdrawn
    askArchive(archive.service.client);

    EXPECT_EQ(
        archive.shown(),
        (QList<QByteArray>{"Bearer t1", "Bearer t1", "Bearer t1", "Bearer t2", "Bearer t2", "Bearer t3"}));
    EXPECT_EQ(archive.service.client.networkSettings().refreshToken(sessionText(signIn)),
              QStringLiteral("r3"));
}

TEST(ArchiveAccess, GoesOnWithWhatWasGrantedInTheNextRun)
{
    Archive archive;
    archive.keepGranted();
    askArchive(archive.service.client);
    archive.service.client.networkSettings().waitUntilStored();

    QuorinApiClient nextRun(
        archive.service.client.configuration(), archive.service.store, archive.service.clock);
    nextRun.networkSettings().waitUntilStored();

    EXPECT_EQ(askArchive(nextRun).meaning, ArchiveAnswer::Meaning::found);
    EXPECT_EQ(archive.shown().last(), "Bearer t2");
}

TEST(ArchiveAccess, EndsTheSessionWhereItsRenewalIsRefusedAndAsksOnce)
{
    SampleFiles files;
    Archive archive;
    archive.keepGranted();
    askArchive(archive.service.client);
    archive.hasEnded = true;
    archive.service.clock.advance(300s);

    const auto error = errorOf<QrnErrorResponse>([&] {
        QrnStowAPI(archive.service.client)
            .upload(archive.service.client.session(), identified(files.dicom("1.2.3", 100)), QString(), {});
    });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::sessionInvalid);
    NetworkSettings &settings = archive.service.client.networkSettings();
    EXPECT_FALSE(settings.token());
    EXPECT_EQ(settings.endedAt(), archive.service.clock.now());
    EXPECT_TRUE(settings.endedSession());
    const qsizetype asked = archive.service.server.requests().size();
    EXPECT_EQ(askArchive(archive.service.client).meaning, ArchiveAnswer::Meaning::signInWanted);
    EXPECT_EQ(archive.service.server.requests().size(), asked + 1); // the archive, and nobody for a token
}

TEST(ArchiveAccess, KeepsWhatStoodBesideASignInThatHasEnded)
{
    Archive archive;
    archive.opens = "Basic " + QByteArray("ann:pw").toBase64();
    ArchiveSignIn granted = archive.keepGranted();
    granted.extras.headers = {{"X-Api-Key", "k3y"}};
    NetworkSettings &settings = archive.service.client.networkSettings();
    settings.setToken(sessionText(granted), QStringLiteral("r0"));
    settings.endSessionOf(QStringLiteral("r0"), archive.service.clock.now());
    QrnLoginRequest request = loginBy({});
    request.archive.reset();
    request.email = QStringLiteral("ann");
    request.password = QStringLiteral("pw");

    QrnAuthenticationAPI(archive.service.client).login(request);

    EXPECT_EQ(archive.service.server.requests().last().headers.value("x-api-key"), "k3y");
    EXPECT_FALSE(settings.endedSession()); // another one stands in its place
}

TEST(ArchiveAccess, KeepsWhatWasGrantedWhileWhoeverRenewsItIsAway)
{
    Archive archive;
    const ArchiveSignIn granted = archive.keepGranted();
    ArchiveSignIn elsewhere = granted;
    elsewhere.client.tokenEndpoint = QStringLiteral("http://127.0.0.1:1/token");
    archive.service.client.networkSettings().setToken(sessionText(elsewhere), QStringLiteral("r0"));

    const auto error = errorOf<AFError>([&archive] { checkArchiveSession(archive.service.client); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::signInUnavailable);
    EXPECT_EQ(archive.service.client.networkSettings().refreshToken(sessionText(elsewhere)),
              QStringLiteral("r0"));
}

TEST(ArchiveAccess, TriesWhatWasGrantedBeforeItIsKept)
{
    Archive archive;
    ArchiveSignIn signIn = archive.oauth();
    signIn.method = Method::device;
    signIn.client.deviceEndpoint = archive.service.server.url().toString() + QStringLiteral("/device");
    signIn.secret.clear();
    QrnLoginRequest request = loginBy(signIn);
    request.granted = DeviceTokens{QStringLiteral("granted"), QStringLiteral("r0"), QStringLiteral("ann")};
    QrnAuthenticationAPI api(archive.service.client);

    archive.opens = "Bearer another";
    EXPECT_THROW(api.login(request), QrnErrorResponse);
    EXPECT_FALSE(archive.service.client.networkSettings().token());
    archive.opens = "Bearer granted";
    api.login(request);

    NetworkSettings &settings = archive.service.client.networkSettings();
    EXPECT_EQ(settings.token(), sessionText(signIn));
    EXPECT_EQ(settings.refreshToken(sessionText(signIn)), QStringLiteral("r0"));
    EXPECT_FALSE(settings.token()->contains(QStringLiteral("granted")));
}

TEST(ArchiveAccess, SendsNothingByASessionThatItCannotRead)
{
    SampleFiles files;
    Archive archive;
    archive.service.client.networkSettings().setToken(QStringLiteral(R"({"method":"telepathy"})"));

    const auto error = errorOf<AFError>([&] {
        QrnStowAPI(archive.service.client)
            .upload(archive.service.client.session(), identified(files.dicom("1.2.3", 100)), QString(), {});
    });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::signInUnavailable);
    EXPECT_TRUE(error->localizedDescription.contains(QStringLiteral("can't be read by this version")));
    EXPECT_EQ(archive.shown().size(), 0);
    EXPECT_TRUE(archive.service.client.networkSettings().token()); // it isn't thrown away
}

TEST(ArchiveAccess, TellsAProxysPageOnItsCertificateFromAnAnswerOfTheArchive)
{
    ScriptedService service(
        [](const ReceivedRequest &) {
            return ScriptedHttpServer::answer(
                400, "text/html", "<html><center>No required SSL certificate was sent</center></html>");
        },
        CloudKind::dicomweb);

    const auto error = errorOf<AFError>([&service] { askArchive(service.client); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::notSecure);
    EXPECT_EQ(error->responseCode, std::nullopt);
}

TEST(ArchiveAccess, KeepsNothingOfASignInThatFails)
{
    Archive archive;
    archive.refusesClient = true;

    EXPECT_THROW(QrnAuthenticationAPI(archive.service.client).login(loginBy(archive.oauth())),
                 QrnErrorResponse);

    EXPECT_EQ(archive.service.client.networkSettings().token(), std::nullopt);
}

TEST(ArchiveAccess, IsKnownByTheClientsName)
{
    Archive archive;
    archive.keep(archive.oauth());

    EXPECT_EQ(QrnUserAPI(archive.service.client).getUser().email, QStringLiteral("gateway"));
}

} // namespace gateway::cloud_client::testing
