#include "monitor/health_server.h"

#include "platform/concurrency/testing/manual_clock.h"
#include "platform/sockets/testing/plain_client.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <atomic>
#include <functional>
#include <list>
#include <thread>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace gateway::monitor {
namespace {

using platform::testing::PlainClient;

const QByteArray kHealthRequest = "GET /healthz HTTP/1.1\r\nHost: gateway\r\n\r\n";
const QByteArray kMetricsRequest = "GET /metrics HTTP/1.1\r\nHost: gateway\r\n\r\n";

HealthFigures well()
{
    HealthFigures figures;
    figures.isSetupFinished = true;
    figures.listener.isListening = true;
    figures.index.isAnswering = true;
    return figures;
}

class Serving : public ::testing::Test
{
protected:
    Serving()
    {
        std::vector<platform::ListeningSocket> sockets;
        sockets.push_back(platform::ListeningSocket::onAddress({u"127.0.0.1"_qs, 0}));
        sockets.push_back(platform::ListeningSocket::onPath(m_path));
        m_port = sockets.front().port();
        m_server.emplace(std::move(sockets),
                         HealthServer::Collaborators{m_clock,
                                                     [this] {
                                                         ++m_asked;
                                                         if (!m_isMainWedged) {
                                                             m_server->publish(m_figures);
                                                         }
                                                     },
                                                     u"1.2.3"_qs});
    }

    QByteArray ask(const QByteArray &request) const
    {
        PlainClient client(m_port);
        client.say(request);
        return client.hear();
    }

    /// Asks while the main thread is silent, and lets its time pass once it has been asked.
    QByteArray askInVain(const QByteArray &request)
    {
        const int before = m_asked;
        m_isMainWedged = true;
        PlainClient client(m_port);
        client.say(request);
        while (m_asked == before) {
            std::this_thread::yield();
        }
        m_clock.advance(HealthServer::kFiguresTimeout);
        return client.hear();
    }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(u"health.socket"_qs);
    platform::testing::ManualClock m_clock;
    std::atomic<bool> m_isMainWedged = false;
    std::atomic<int> m_asked = 0;
    HealthFigures m_figures = well();
    int m_port = 0;
    std::optional<HealthServer> m_server;
};

TEST_F(Serving, TellsMetricsAndHealthOverTheNetwork)
{
    const QByteArray health = ask(kHealthRequest);
    EXPECT_TRUE(health.startsWith("HTTP/1.1 200 ")) << health.toStdString();

    const QByteArray metrics = ask(kMetricsRequest);
    EXPECT_TRUE(metrics.startsWith("HTTP/1.1 200 ")) << metrics.toStdString();
    EXPECT_TRUE(metrics.contains("\nquorin_gateway_main_loop_up 1\n"));
    EXPECT_TRUE(metrics.contains("{version=\"1.2.3\"}"));
}

TEST_F(Serving, TellsTheSameOverAUnixSocketOfThisUserAlone)
{
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(m_path).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);

    PlainClient client(m_path);
    client.say(kHealthRequest);
    EXPECT_TRUE(client.hear().startsWith("HTTP/1.1 200 "));
}

TEST_F(Serving, TellsFiguresOfTheMomentOfTheRequest)
{
    m_figures.totals.receivedImages = 1;
    EXPECT_TRUE(ask(kMetricsRequest).contains("\nquorin_gateway_images_received_total 1\n"));

    m_figures.totals.receivedImages = 2;
    EXPECT_TRUE(ask(kMetricsRequest).contains("\nquorin_gateway_images_received_total 2\n"));
}

TEST_F(Serving, SaysThatTheMainLoopDoesNotAnswerInsteadOfHanging)
{
    const QByteArray health = askInVain(kHealthRequest);

    EXPECT_TRUE(health.startsWith("HTTP/1.1 503 ")) << health.toStdString();
    EXPECT_TRUE(health.endsWith("\r\n\r\nThe main loop of the gateway doesn't answer.\n"));
}

TEST_F(Serving, TellsTheLastFiguresAndTheirAgeWhileTheMainLoopIsSilent)
{
    m_figures.totals.receivedImages = 7;
    ask(kMetricsRequest);
    m_clock.advance(std::chrono::seconds(40));

    const QByteArray metrics = askInVain(kMetricsRequest);

    EXPECT_TRUE(metrics.startsWith("HTTP/1.1 200 "));
    EXPECT_TRUE(metrics.contains("\nquorin_gateway_main_loop_up 0\n"));
    EXPECT_TRUE(metrics.contains("\nquorin_gateway_healthy 0\n"));
    EXPECT_TRUE(metrics.contains("\nquorin_gateway_figures_age_seconds 42\n")) << metrics.toStdString();
    EXPECT_TRUE(metrics.contains("\nquorin_gateway_images_received_total 7\n"));
}

TEST_F(Serving, TellsOfTheProcessAloneBeforeTheFirstFigures)
{
    const QByteArray metrics = askInVain(kMetricsRequest);

    EXPECT_TRUE(metrics.contains("\nprocess_resident_memory_bytes "));
    EXPECT_FALSE(metrics.contains("quorin_gateway_listener_up"));
}

TEST_F(Serving, AsksASilentMainThreadOnceHoweverManyWait)
{
    m_isMainWedged = true;
    std::list<PlainClient> waiting;
    for (int count = 0; count < 20; ++count) {
        waiting.emplace_back(m_port).say(kHealthRequest);
    }
    while (m_asked == 0) {
        std::this_thread::yield();
    }

    // A request that is refused at once came behind the others: they have been read when it is answered.
    EXPECT_TRUE(ask(QByteArray(5000, 'x')).startsWith("HTTP/1.1 431 "));
    EXPECT_EQ(m_asked, 1);
    m_server->publish(well());

    for (PlainClient &client : waiting) {
        EXPECT_TRUE(client.hear().startsWith("HTTP/1.1 200 "));
    }
}

TEST_F(Serving, ServesOthersWhileSlowPeersDripTheirRequests)
{
    std::list<PlainClient> slow;
    for (std::size_t count = 0; count < 2 * HealthServer::kMaxConnections; ++count) {
        slow.emplace_back(m_port).say("GET /hea");
    }

    for (int round = 0; round < 5; ++round) {
        EXPECT_TRUE(ask(kHealthRequest).startsWith("HTTP/1.1 200 "));
        slow.back().say("l");
    }
}

TEST_F(Serving, TellsAPeerThatIsTooSlowWithItsRequest)
{
    PlainClient slow(m_port);
    slow.say("GET /healthz HTTP/1.1\r\n");
    ask(kHealthRequest); // by then the slow one was accepted, since it came first

    m_clock.advance(HealthServer::kRequestTimeout);

    EXPECT_TRUE(slow.hear().startsWith("HTTP/1.1 408 "));
}

TEST_F(Serving, RefusesARequestThatIsTooLong)
{
    const QByteArray answer = ask("GET /healthz HTTP/1.1\r\nX: " + QByteArray(5000, 'x') + "\r\n\r\n");

    EXPECT_TRUE(answer.startsWith("HTTP/1.1 431 ")) << answer.toStdString();
}

TEST_F(Serving, AnswersARequestThatComesWithABody)
{
    const QByteArray answer =
        ask("POST /metrics HTTP/1.1\r\nContent-Length: 100000\r\n\r\n" + QByteArray(100'000, 'x'));

    EXPECT_TRUE(answer.startsWith("HTTP/1.1 405 ")) << answer.toStdString();
}

TEST_F(Serving, OutlivesPeersThatHangUpAtAnyMoment)
{
    for (qsizetype length = 0; length <= kMetricsRequest.size(); ++length) {
        PlainClient(m_port).say(kMetricsRequest.left(length));
    }

    EXPECT_TRUE(ask(kHealthRequest).startsWith("HTTP/1.1 200 "));
}

TEST_F(Serving, EndsWhileRequestsWait)
{
    m_isMainWedged = true;
    PlainClient client(m_port);
    client.say(kHealthRequest);
    while (m_asked == 0) {
        std::this_thread::yield();
    }

    m_server.reset();

    EXPECT_TRUE(client.hear().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(m_path));
}

} // namespace
} // namespace gateway::monitor
