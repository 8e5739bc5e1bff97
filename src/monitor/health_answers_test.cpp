#include "monitor/health_answers.h"

#include <QtCore/QByteArray>

#include <gtest/gtest.h>

namespace gateway::monitor {
namespace {

class Answers : public ::testing::Test
{
protected:
    Answers()
    {
        m_view.figures.emplace();
        m_view.figures->index.isAnswering = true;
        m_view.figures->isSetupFinished = true;
        m_view.figures->listener.isListening = true;
        m_view.isMainLoopAnswering = true;
    }

    QByteArray answer(const QByteArray &head)
    {
        return QByteArray::fromStdString(
            m_answers.answer({head.constData(), static_cast<std::size_t>(head.size())}, m_view));
    }

    QByteArray get(const QByteArray &target, const QByteArray &fields = {})
    {
        return answer("GET " + target + " HTTP/1.1\r\nHost: gateway\r\n" + fields + "\r\n");
    }

    static QByteArray bodyOf(const QByteArray &answer) { return answer.mid(answer.indexOf("\r\n\r\n") + 4); }

    HealthAnswers m_answers;
    MetricsView m_view;
};

TEST_F(Answers, TellMetricsInTheirOwnContentType)
{
    const QByteArray metrics = get("/metrics");

    EXPECT_TRUE(metrics.startsWith("HTTP/1.1 200 OK\r\n")) << metrics.toStdString();
    EXPECT_TRUE(metrics.contains("Content-Type: text/plain; version=0.0.4; charset=utf-8\r\n"));
    EXPECT_TRUE(metrics.contains("Connection: close\r\n"));
    EXPECT_EQ(bodyOf(metrics), prometheusText(m_view));
}

TEST_F(Answers, TellHealthWithItsReason)
{
    const QByteArray well = get("/healthz");
    EXPECT_TRUE(well.startsWith("HTTP/1.1 200 "));
    EXPECT_EQ(bodyOf(well), "The listener runs on port 0.\n");

    m_view.figures->index.isAnswering = false;
    const QByteArray ill = get("/healthz");
    EXPECT_TRUE(ill.startsWith("HTTP/1.1 503 "));
    EXPECT_EQ(bodyOf(ill), "The index doesn't answer.\n");
}

TEST_F(Answers, PassOverAQuery)
{
    EXPECT_TRUE(get("/healthz?verbose=1").startsWith("HTTP/1.1 200 "));
}

TEST_F(Answers, LeaveOutTheBodyForHead)
{
    const QByteArray head = answer("HEAD /healthz HTTP/1.1\r\n\r\n");

    EXPECT_TRUE(head.startsWith("HTTP/1.1 200 "));
    EXPECT_TRUE(head.contains("Content-Length: 29\r\n")) << head.toStdString();
    EXPECT_TRUE(bodyOf(head).isEmpty());
}

TEST_F(Answers, TakeNoOtherMethod)
{
    for (const QByteArray method : {"POST", "PUT", "DELETE", "PATCH", "OPTIONS"}) {
        const QByteArray refused = answer(method + " /metrics HTTP/1.1\r\nContent-Length: 3\r\n\r\n");
        EXPECT_TRUE(refused.startsWith("HTTP/1.1 405 ")) << refused.toStdString();
        EXPECT_TRUE(refused.contains("Allow: GET, HEAD\r\n"));
    }
}

TEST_F(Answers, KnowNoOtherPath)
{
    for (const QByteArray path : {"/", "/metrics/", "/../metrics/x", "/healthz2"}) {
        EXPECT_TRUE(get(path).startsWith("HTTP/1.1 404 ")) << path.toStdString();
    }
}

TEST_F(Answers, SendTheWholePageWhateverPartIsAskedFor)
{
    const QByteArray whole = bodyOf(get("/healthz"));

    EXPECT_EQ(bodyOf(get("/healthz", "Range: bytes=3-5\r\n")), whole);
    EXPECT_EQ(bodyOf(get("/healthz", "Range: bytes=0-1,3-4\r\n")), whole);
}

TEST_F(Answers, OutliveALongListOfRanges)
{
    QByteArray ranges = "Range: bytes=0-0";
    while (ranges.size() < 4000) {
        ranges += ",1-1";
    }

    EXPECT_TRUE(get("/healthz", ranges + "\r\n").startsWith("HTTP/1.1 "));
}

TEST_F(Answers, RefuseWhatIsNoRequest)
{
    for (const QByteArray text :
         {"\r\n\r\n", "hello\r\n\r\n", "GET\r\n\r\n", "GET /healthz SMTP/9\r\n\r\n", ""}) {
        EXPECT_TRUE(answer(text).startsWith("HTTP/1.1 400 ")) << text.toStdString();
    }
}

} // namespace
} // namespace gateway::monitor
