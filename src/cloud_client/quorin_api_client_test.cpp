#include "cloud_client/quorin_api_client.h"

#include "cloud_client/qrn_status_api.h"
#include "cloud_client/testing/client_fixture.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace gateway::cloud_client::testing {

namespace {

const auto kAnswerEmpty = [](const ReceivedRequest &) { return ScriptedHttpServer::answer(204); };

ApiCall get(const QByteArray &path)
{
    ApiCall call;
    call.path = path;
    return call;
}

std::optional<AFError> errorAt(const QUrl &url)
{
    MemoryTokenStore store;
    QuorinApiClient client(configurationFor(url), store, stillClock());
    return errorOf<AFError>([&client] { client.request(get("/ping")); });
}

} // namespace

TEST(QuorinApiClient, SendsTheHeadersOfEveryRequest)
{
    ScriptedService service(kAnswerEmpty);
    service.client.networkSettings().setToken(QStringLiteral("secret"));
    ApiCall call = get("/ping");
    call.deviceId = QStringLiteral("DEVICE-1");

    service.client.request(call);

    const ReceivedRequest request = service.server.requests().first();
    EXPECT_TRUE(request.is("GET", "/api/v1/ping"));
    EXPECT_EQ(request.headers.value("user-agent"), "QuorinGateway/" QUORIN_VERSION);
    EXPECT_EQ(request.headers.value("authorization"), "Bearer secret");
    EXPECT_EQ(request.headers.value("x-quorin-device"), "DEVICE-1");
    EXPECT_TRUE(request.headers.value("accept-encoding").contains("gzip"));
    EXPECT_FALSE(request.headers.contains("expect"));
}

TEST(QuorinApiClient, SendsNoCredentialsWhenSignedOut)
{
    ScriptedService service(kAnswerEmpty);

    service.client.request(get("/ping"));

    EXPECT_FALSE(service.server.requests().first().headers.contains("authorization"));
}

TEST(QuorinApiClient, NeverLetsATextBreakOutOfItsHeader)
{
    ScriptedService service(kAnswerEmpty);
    service.client.networkSettings().setToken(QStringLiteral("a\r\nX-Evil: 1"));

    service.client.request(get("/ping"));

    EXPECT_FALSE(service.server.requests().first().headers.contains("x-evil"));
}

TEST(QuorinApiClient, KeepsTheConnectionBetweenCalls)
{
    ScriptedService service(kAnswerEmpty);

    for (int round = 0; round < 5; ++round) {
        service.client.request(get("/ping"));
    }

    EXPECT_EQ(service.server.connectionCount(), 1);
}

TEST(QuorinApiClient, AsksAgainOnAFreshConnectionWhereTheOneThatIdledHasTimedOut)
{
    std::atomic<int> asked = 0;
    ScriptedService service([&asked](const ReceivedRequest &request) {
        const bool isIdled = request.connection == 1 && ++asked > 1;
        return isIdled ? ScriptedHttpServer::answer(408, {}, {}, "Connection: close\r\n")
                       : ScriptedHttpServer::answer(200, "application/json", "{}");
    });

    service.client.request(get("/ping"));
    EXPECT_TRUE(service.client.request(get("/ping")).isSuccess());

    EXPECT_EQ(service.server.requests().size(), 3);
    EXPECT_EQ(service.server.connectionCount(), 2);
}

TEST(QuorinApiClient, BelievesThatAFreshConnectionHasTimedOut)
{
    ScriptedService service([](const ReceivedRequest &) { return ScriptedHttpServer::answer(408); });

    const auto error = errorOf<AFError>([&service] { service.client.request(get("/ping")); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->responseCode, 408);
    EXPECT_EQ(service.server.requests().size(), 1);
}

/// Asked of the system, and not of the descriptors: those of the server's threads come and go.
TEST(QuorinApiClient, KeepsItsSocketsFromProgramsStartedLater)
{
    ScriptedService service(kAnswerEmpty);
    service.client.request(get("/ping"));

    int sockets = 0;
    const QDir::Filters all = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;
    for (const QString &number : QDir(QStringLiteral("/proc/self/fd")).entryList(all)) {
        std::array<char, 64> target{};
        const QByteArray link = "/proc/self/fd/" + number.toLatin1();
        QFile information(QStringLiteral("/proc/self/fdinfo/") + number);
        const bool isSocket = ::readlink(link.constData(), target.data(), target.size() - 1) > 0 &&
                              QByteArray(target.data()).startsWith("socket:");
        if (number.toInt() <= STDERR_FILENO || !isSocket || !information.open(QIODevice::ReadOnly)) {
            continue;
        }
        const QByteArray told = information.readAll();
        const QByteArray flags = told.mid(told.indexOf("flags:") + 6).trimmed();
        ++sockets;
        EXPECT_NE(flags.left(flags.indexOf('\n')).trimmed().toInt(nullptr, 8) & O_CLOEXEC, 0)
            << told.toStdString();
    }

    EXPECT_GT(sockets, 1); // the connection, and those by which the library wakes itself
}

TEST(QuorinApiClient, ServesManyThreadsAtOnce)
{
    ScriptedService service([](const ReceivedRequest &request) {
        return ScriptedHttpServer::answer(200, "application/json", "{\"path\": \"" + request.target + "\"}");
    });
    std::vector<std::thread> threads;
    threads.reserve(6);
    std::atomic<int> right = 0;

    for (int thread = 0; thread < 6; ++thread) {
        threads.emplace_back([&service, &right, thread] {
            for (int round = 0; round < 20; ++round) {
                const QByteArray path = "/" + QByteArray::number(thread) + "/" + QByteArray::number(round);
                const QVariantMap answer = service.client.requestObject(get(path));
                right += answer.value(QStringLiteral("path")).toByteArray() == "/api/v1" + path ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }

    EXPECT_EQ(right, 120);
    EXPECT_LE(service.server.connectionCount(), 6);
}

TEST(QuorinApiClient, FollowsNoRedirect)
{
    ScriptedService elsewhere(kAnswerEmpty);
    ScriptedService service([&elsewhere](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(
            307, {}, {}, "Location: " + elsewhere.server.url().toEncoded() + "/api/v1/ping\r\n");
    });
    service.client.networkSettings().setToken(QStringLiteral("secret"));

    const auto error = errorOf<AFError>([&service] { service.client.request(get("/ping")); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->responseCode, 307);
    EXPECT_TRUE(elsewhere.server.requests().isEmpty());
}

TEST(QuorinApiClient, ThrowsTheWordsOfTheServiceWithTheirKind)
{
    ScriptedService service([](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(
            403,
            "application/problem+json; charset=utf-8",
            R"({"type":"x","title":"t","status":403,"detail":"Accept the terms.","kind":2})");
    });

    const auto error = errorOf<QrnErrorResponse>([&service] { service.client.request(get("/user")); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::termsNotAccepted);
    EXPECT_EQ(error->message, QStringLiteral("Accept the terms."));
    EXPECT_EQ(error->code, 2);
    EXPECT_EQ(error->responseCode, 403);
}

TEST(QuorinApiClient, TakesASessionForEndedByA401ThatSaysSoAndByNothingElse)
{
    const auto answer = [](int status, const QByteArray &problem) {
        ScriptedService service([&](const ReceivedRequest &) {
            return ScriptedHttpServer::answer(status, "application/problem+json", problem);
        });
        return errorOf<QrnErrorResponse>([&service] { service.client.request(get("/auth/token")); });
    };

    EXPECT_EQ(answer(401, "{\"kind\": 0}")->kind, QrnErrorKind::sessionInvalid);
    EXPECT_EQ(answer(503, "{\"kind\": 0}")->kind, QrnErrorKind::serviceFault);
    EXPECT_EQ(answer(403, "{\"kind\": 0}")->kind, QrnErrorKind::badRequest);
    EXPECT_EQ(answer(401, "{\"title\": \"Unauthorized\"}")->kind, QrnErrorKind::credentialsRefused);
}

TEST(QuorinApiClient, ThrowsTheBareStatusWhereNoWordsCame)
{
    for (const int status : {400, 401, 403, 404, 413, 429, 500, 507}) {
        ScriptedService service([status](const ReceivedRequest &) {
            return ScriptedHttpServer::answer(status, "text/html", "<html>no</html>");
        });

        const auto error = errorOf<AFError>([&service] { service.client.request(get("/user")); });

        ASSERT_TRUE(error) << status;
        EXPECT_EQ(error->responseCode, status);
        EXPECT_TRUE(error->localizedDescription.contains(QString::number(status)));
    }
}

TEST(QuorinApiClient, TakesADamagedProblemForABareStatus)
{
    ScriptedService service([](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(500, "application/problem+json", "{\"kind\": ");
    });

    EXPECT_EQ(errorOf<AFError>([&service] { service.client.request(get("/user")); })->responseCode, 500);
}

TEST(QuorinApiClient, RefusesAPageOfHtmlInPlaceOfAnAnswer)
{
    ScriptedService service([](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(200, "text/html", "<html>Welcome to our hotel</html>");
    });

    const auto user = errorOf<AFError>([&service] { service.client.requestObject(get("/user")); });
    const auto ping = errorOf<AFError>([&service] { QrnStatusAPI(service.client).ping(); });

    for (const auto &error : {user, ping}) {
        ASSERT_TRUE(error);
        EXPECT_EQ(error->noAnswer, NoAnswer::unusableAnswer);
        EXPECT_EQ(
            error->localizedDescription,
            QStringLiteral("A web page came from 127.0.0.1 (status 200) in place of an answer of the cloud "
                           "service. This network may ask for a sign-in of its own, or the address may be "
                           "wrong."));
    }
}

TEST(QuorinApiClient, SaysWhoseRefusalItWasAndItsStatus)
{
    const auto sentence = [](int status, const QByteArray &type) {
        ScriptedService service(
            [&](const ReceivedRequest &) { return ScriptedHttpServer::answer(status, type, "x"); });
        return errorOf<AFError>([&service] { service.client.request(get("/user")); })->localizedDescription;
    };

    EXPECT_EQ(sentence(403, "text/plain"),
              QStringLiteral("The server at 127.0.0.1 does not allow this (status 403)."));
    EXPECT_EQ(
        sentence(403, "text/html"),
        QStringLiteral("The server at 127.0.0.1 does not allow this (status 403). It sent a web page, so it "
                       "may be something on the way there."));
    EXPECT_TRUE(sentence(407, {}).startsWith(QStringLiteral("A web proxy on the way to 127.0.0.1")));
    EXPECT_TRUE(sentence(511, {}).startsWith(QStringLiteral("The network on the way to 127.0.0.1")));
}

/// The variables of a proxy, for the length of a test.
class ProxyVariable
{
public:
    explicit ProxyVariable(const QUrl &proxy) { qputenv("https_proxy", proxy.toEncoded()); }
    ~ProxyVariable() { qunsetenv("https_proxy"); }
    ProxyVariable(const ProxyVariable &) = delete;
    ProxyVariable &operator=(const ProxyVariable &) = delete;
};

TEST(QuorinApiClient, TellsAProxyThatRefusesFromAConnectionThatWasLost)
{
    for (const int status : {403, 407, 502}) {
        ScriptedHttpServer proxy([status](const ReceivedRequest &request) {
            EXPECT_EQ(request.method, "CONNECT");
            return ScriptedHttpServer::answer(status, "text/html", "<html>no</html>");
        });
        const ProxyVariable variable(proxy.url());

        const auto error = errorAt(QUrl(QStringLiteral("https://cloud.example")));

        ASSERT_TRUE(error);
        EXPECT_EQ(error->noAnswer, NoAnswer::proxyRefused);
        EXPECT_EQ(error->code, status);
        EXPECT_FALSE(error->responseCode);
        EXPECT_TRUE(error->localizedDescription.startsWith(
            QStringLiteral("The web proxy on the way to cloud.example")));
        EXPECT_TRUE(error->localizedDescription.contains(QString::number(status)));
    }
}

TEST(QuorinApiClient, TellsAProxyThatIsAwayFromAServiceThatIs)
{
    const QUrl nobody = [] { return ScriptedHttpServer({}).url(); }(); // its port is free again
    const auto sentence = [](const QString &address) {
        const auto error = errorAt(QUrl(address));
        EXPECT_TRUE(error && error->noAnswer == NoAnswer::notReachable);
        return error ? error->localizedDescription : QString();
    };

    EXPECT_EQ(sentence(nobody.toString()),
              QStringLiteral("The cloud service at 127.0.0.1 refused the connection."));
    const ProxyVariable variable(nobody);
    EXPECT_EQ(sentence(QStringLiteral("https://cloud.example")),
              QStringLiteral("The web proxy on the way to cloud.example can't be reached; the setting "
                             "QuorinAPI.Proxy or the variable https_proxy names it."));
}

TEST(QuorinApiClient, TakesInNoMoreOfARefusalThanItsWordsNeed)
{
    const QByteArray problem = R"({"kind": 8, "detail": ")" + QByteArray(9'000'000, 'x') + "\"}";
    ScriptedService service([&problem](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(429, "application/problem+json", problem);
    });

    const auto error = errorOf<AFError>([&service] { service.client.request(get("/user")); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->responseCode, 429);
    EXPECT_LT(error->localizedDescription.size(), 200);
}

TEST(QuorinApiClient, CleansAndCutsTheWordsOfTheService)
{
    ScriptedService service([](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(403,
                                          "application/problem+json",
                                          R"({"kind": 2, "detail": "\u001b[31mAccept\nthe \u202eterms.)" +
                                              QByteArray(5000, 'x') + "\"}");
    });

    const auto error = errorOf<QrnErrorResponse>([&service] { service.client.request(get("/user")); });

    ASSERT_TRUE(error && error->message);
    EXPECT_TRUE(error->message->startsWith(QStringLiteral("Accept the terms.x")));
    EXPECT_EQ(error->message->size(), 300);
}

TEST(QuorinApiClient, SaysWhyNoAnswerCame)
{
    QUrl closed;
    {
        const ScriptedHttpServer gone(kAnswerEmpty);
        closed = gone.url();
    }

    const auto refused = errorAt(closed);
    ASSERT_TRUE(refused);
    EXPECT_FALSE(refused->responseCode);
    EXPECT_EQ(refused->noAnswer, NoAnswer::notReachable);
    EXPECT_EQ(refused->localizedDescription,
              QStringLiteral("The cloud service at 127.0.0.1 refused the connection."));

    const auto unknown = errorAt(QUrl(QStringLiteral("https://no-such-host.invalid")));
    ASSERT_TRUE(unknown);
    EXPECT_EQ(unknown->noAnswer, NoAnswer::addressNotFound);
    EXPECT_EQ(unknown->localizedDescription,
              QStringLiteral("The address of the cloud service, no-such-host.invalid, could not be found."));
}

TEST(QuorinApiClient, SaysThatAConnectionWasLost)
{
    ScriptedService service([](const ReceivedRequest &) { return QByteArray(); });

    const auto error = errorOf<AFError>([&service] { service.client.request(get("/ping")); });

    ASSERT_TRUE(error);
    EXPECT_FALSE(error->responseCode);
    EXPECT_EQ(error->noAnswer, NoAnswer::connectionLost);
    EXPECT_EQ(error->localizedDescription,
              QStringLiteral("The connection to the cloud service at 127.0.0.1 was lost."));
}

TEST(QuorinApiClient, SpeaksNoPlainHttpToOtherHosts)
{
    const auto error = errorAt(QUrl(QStringLiteral("http://cloud.example")));

    ASSERT_TRUE(error);
    EXPECT_FALSE(error->responseCode);
    EXPECT_EQ(error->noAnswer, NoAnswer::badAddress);
    EXPECT_TRUE(error->localizedDescription.contains(QStringLiteral("QUORIN_CLOUD_ALLOW_HTTP=1")));
}

TEST(QuorinApiClient, GivesUpOnAServerThatFallsSilent)
{
    std::promise<void> done;
    const std::shared_future<void> released = done.get_future().share();
    ScriptedHttpServer server([released](const ReceivedRequest &) {
        released.wait();
        return QByteArray();
    });
    CloudConfiguration configuration = configurationFor(server.url());
    configuration.limits.silence = std::chrono::seconds(1);
    MemoryTokenStore store;
    QuorinApiClient client(configuration, store, stillClock());

    const auto error = errorOf<AFError>([&client] { client.request(get("/ping")); });
    done.set_value();

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::timedOut);
    EXPECT_EQ(error->localizedDescription,
              QStringLiteral("The cloud service at 127.0.0.1 did not answer in time."));
}

/// A server whose answer never comes to its end.
struct DrippingServer : ScriptedHttpServer
{
    DrippingServer()
        : ScriptedHttpServer(
              [](const ReceivedRequest &) {
                  return answer(200, "application/dicom+json", QByteArray(1 << 20, ' '));
              },
              Moment::afterBody,
              Pace::dripping)
    {
    }
};

TEST(QuorinApiClient, GivesUpOnAnAnswerThatDrips)
{
    DrippingServer server;
    CloudConfiguration configuration = configurationFor(server.url());
    configuration.limits.silence = std::chrono::seconds(1);
    MemoryTokenStore store;
    QuorinApiClient client(configuration, store, stillClock());
    ApiCall query = get("/studies");
    query.service = ApiCall::Service::query;
    query.isBrief = false;

    const auto error = errorOf<AFError>([&] { client.request(query); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::timedOut);
}

/// A small body that is made while it is sent.
class SmallBody final : public HttpBodySource
{
public:
    qint64 size() const override { return 5; }
    qint64 read(char *buffer, qint64 capacity) override
    {
        const qint64 count = std::min(capacity, size() - m_offset);
        std::fill_n(buffer, count, 'x');
        m_offset += count;
        return count;
    }
    void seek(qint64 offset) override { m_offset = offset; }

private:
    qint64 m_offset = 0;
};

TEST(QuorinApiClient, GivesAnUploadsAnswerOnlySoLong)
{
    DrippingServer server;
    CloudConfiguration configuration = configurationFor(server.url());
    configuration.limits.answer = std::chrono::seconds(1);
    MemoryTokenStore store;
    QuorinApiClient client(configuration, store, stillClock());
    SmallBody body;
    ApiCall upload = get("/studies");
    upload.method = "POST";
    upload.stream = &body;
    upload.isBrief = false;

    const auto error = errorOf<AFError>([&] { client.request(upload); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, NoAnswer::timedOut);
}

TEST(QuorinApiClient, GivesAnInstanceMoreTimeTheLargerItMayBe)
{
    using namespace std::chrono_literals;
    const HttpLimits limits;
    SmallBody body;
    ApiCall brief;
    ApiCall query;
    query.isBrief = false;
    ApiCall upload = query;
    upload.stream = &body;
    ApiCall retrieval = query;
    retrieval.sink = [](QByteArrayView) {};
    retrieval.answerLimit = 160 << 20;

    EXPECT_EQ(timeLimitOf(brief, limits), limits.call);
    EXPECT_EQ(timeLimitOf(query, limits), limits.answer);
    EXPECT_EQ(timeLimitOf(upload, limits), 0s);
    EXPECT_EQ(timeLimitOf(retrieval, limits), limits.answer + 10'240s);
}

TEST(QuorinApiClient, EndsCallsInFlightWhenItIsShutDown)
{
    std::promise<void> done;
    const std::shared_future<void> released = done.get_future().share();
    std::promise<void> asked;
    ScriptedService service([released, &asked](const ReceivedRequest &) {
        asked.set_value();
        released.wait();
        return QByteArray();
    });
    auto call = std::async(std::launch::async, [&service] {
        return errorOf<AFError>([&service] { service.client.request(get("/ping")); });
    });
    asked.get_future().wait();

    service.client.shutDown();
    const auto error = call.get();
    done.set_value();

    ASSERT_TRUE(error);
    EXPECT_FALSE(error->responseCode);
    EXPECT_TRUE(errorOf<AFError>([&service] { service.client.request(get("/ping")); }));
}

TEST(QuorinApiClient, KeepsNoAnswerLargerThanAllowed)
{
    ScriptedService service([](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(200, "application/json", QByteArray(17 << 20, ' '));
    });

    const auto error = errorOf<AFError>([&service] { service.client.request(get("/user")); });

    ASSERT_TRUE(error);
    EXPECT_TRUE(error->localizedDescription.contains(QStringLiteral("larger than it may be")));
}

TEST(QuorinApiClient, SpeaksBelowTheBaseAddressWhateverItsPath)
{
    ScriptedHttpServer server(kAnswerEmpty);
    MemoryTokenStore store;
    QUrl base = server.url();
    base.setPath(QStringLiteral("/imaging/"));
    QuorinApiClient service(configurationFor(base), store, stillClock());
    QuorinApiClient archive(configurationFor(base, CloudKind::dicomweb), store, stillClock());
    ApiCall studies = get("/studies");
    studies.service = ApiCall::Service::query;

    service.request(get("/ping"));
    service.request(studies);
    archive.request(studies);

    EXPECT_EQ(server.requests().at(0).target, "/imaging/api/v1/ping");
    EXPECT_EQ(server.requests().at(1).target, "/imaging/dicom-web/studies");
    EXPECT_EQ(server.requests().at(2).target, "/imaging/studies");
}

} // namespace gateway::cloud_client::testing
