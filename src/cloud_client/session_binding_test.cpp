#include "cloud_client/testing/stow_answers.h"
#include "platform/dicom/testing/identities.h"

namespace gateway::cloud_client::testing {

namespace {

const platform::InstanceIdentity kInstance = platform::testing::identity("1.1", "1.2", "1.2.3");

/// What a session of this name is kept as.
QString sessionOf(CloudKind kind, const QString &name)
{
    return kind == CloudKind::dicomweb
               ? QString::fromLatin1((name + QStringLiteral(":pw")).toUtf8().toBase64())
               : QStringLiteral("token-of-") + name;
}

/// Somebody else signs in, or the present one out, while a request is under way. Every service holds every
/// instance for whoever asks.
struct SessionBindingTest : ::testing::TestWithParam<std::tuple<CloudKind, bool>>
{
    ScriptedService service{[this](const ReceivedRequest &request) {
                                return request.method == "POST" ? answerAndChange(request) : found(request);
                            },
                            std::get<0>(GetParam())};
    SampleFiles files;
    QByteArray answerToPost = ScriptedHttpServer::answer(202, "", "");

    SessionBindingTest() { signIn(QStringLiteral("alice")); }

    void signIn(const QString &name)
    {
        service.client.networkSettings().setToken(sessionOf(std::get<0>(GetParam()), name));
    }

    void change()
    {
        if (std::get<1>(GetParam())) {
            signIn(QStringLiteral("bob"));
        } else {
            service.client.networkSettings().setToken(std::nullopt);
        }
    }

    QByteArray answerAndChange(const ReceivedRequest &)
    {
        change();
        return answerToPost;
    }

    QByteArray found(const ReceivedRequest &request) { return answering({}, {"1.2.3", "1.2.4"})(request); }
};

} // namespace

TEST_P(SessionBindingTest, TakesNoProofOfAnotherSessionForAnUploadOfThisOne)
{
    const auto refusal = refusalOf(service.client, {files.dicom("1.2.3"), files.dicom("1.2.4")});

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures.size(), 2);
    const auto cause = errorOf<AFError>([&] { std::rethrow_exception(refusal->cause); });
    ASSERT_TRUE(cause);
    EXPECT_EQ(cause->noAnswer, NoAnswer::sessionOver);
    EXPECT_EQ(service.server.requests().size(), 1) << "nobody is asked";
}

TEST_P(SessionBindingTest, SendsTheHalvesOfABatchInNoOtherSession)
{
    answerToPost = ScriptedHttpServer::answer(413);

    const auto error =
        errorOf<AFError>([&] { succeeds(service.client, {files.dicom("1.2.3"), files.dicom("1.2.4")}); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::sessionOver);
    EXPECT_EQ(service.server.requests().size(), 1);
}

TEST_P(SessionBindingTest, BelievesWhatIsAnsweredToTheRequestItself)
{
    answerToPost = ScriptedHttpServer::answer(200, kDicomJson, dataset({"1.2.3"}));

    EXPECT_TRUE(succeeds(service.client, {files.dicom("1.2.3")}));
}

TEST_P(SessionBindingTest, AsksAndSendsNothingInASessionThatIsOver)
{
    const CloudSession before = service.client.session();
    change();
    EXPECT_NE(service.client.session(), before);
    QrnStowAPI api(service.client);
    const auto isRefused = [](const auto &call) {
        const auto error = errorOf<AFError>(call);
        return error && !error->responseCode && error->noAnswer == NoAnswer::sessionOver;
    };

    EXPECT_TRUE(isRefused([&] { api.upload(before, identified(files.dicom("1.2.3")), kDevice, {}); }));
    EXPECT_TRUE(isRefused([&] { api.isFound(before, kInstance); }));
    EXPECT_TRUE(isRefused([&] { api.mayHold(before, kInstance); }));
    EXPECT_TRUE(isRefused([&] { api.isSeriesFound(before, kInstance); }));
    EXPECT_TRUE(
        isRefused([&] { api.retrieve(before, kInstance, files.path(QStringLiteral("fetched")), 1 << 20); }));
    EXPECT_TRUE(service.server.requests().isEmpty());
}

TEST_P(SessionBindingTest, TellsASessionFromAnEarlierOneOfTheSameAccount)
{
    const CloudSession before = service.client.session();
    change();
    signIn(QStringLiteral("alice"));

    EXPECT_EQ(service.client.session().cloud, before.cloud);
    EXPECT_NE(service.client.session(), before);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind,
                         SessionBindingTest,
                         ::testing::Combine(::testing::Values(CloudKind::quorin, CloudKind::dicomweb),
                                            ::testing::Bool()));

TEST(CloudSessions, ArePartedByTheirUserWhateverTheTokenIs)
{
    ScriptedService service(answeringDataset(200, dataset({})));
    NetworkSettings &settings = service.client.networkSettings();
    EXPECT_FALSE(service.client.session().isSignedIn());

    settings.setToken(QStringLiteral("t"), std::nullopt, 1);
    const CloudSession first = service.client.session();
    settings.setToken(QStringLiteral("t"), std::nullopt, 2);

    EXPECT_TRUE(first.isSignedIn());
    EXPECT_NE(service.client.session().cloud, first.cloud);
    EXPECT_NE(service.client.session().number, first.number);
}

TEST(CloudSessions, OutliveARefreshTokenThatChanges)
{
    ScriptedService service(answeringDataset(200, dataset({})), CloudKind::dicomweb);
    NetworkSettings &settings = service.client.networkSettings();
    settings.setToken(QStringLiteral("{\"method\":\"device\"}"), QStringLiteral("r1"));
    const CloudSession before = service.client.session();

    settings.replaceRefreshToken(QStringLiteral("r1"), QStringLiteral("r2"));
    EXPECT_EQ(service.client.session(), before);

    settings.endSessionOf(QStringLiteral("r2"), QDateTime::currentDateTimeUtc());
    EXPECT_NE(service.client.session(), before);
    EXPECT_FALSE(service.client.session().isSignedIn());
}

} // namespace gateway::cloud_client::testing
