#include "cloud/program_test/cloud_fixture.h"

#include <curl/curl.h>

#include <thread>

namespace gateway::cloud::testing {
namespace {

const QString kPing = QStringLiteral("/api/v1/ping");

// A fault that lasts so long that only the time limit of the client, or the end of the server, can end it.
constexpr int kForeverMs = 10 * 60 * 1000;
constexpr std::chrono::milliseconds kShortLimit(300);

class Faults : public CloudTest
{
protected:
    void fault(const QJsonObject &rule) const { steer(QStringLiteral("faults"), rule); }

    /// Sends a file on a connection of its own: libcurl would try again on a used one that was cut.
    HttpAnswer uploadOnce(const QByteArray &file)
    {
        HttpClient session = signedIn();
        HttpClient fresh(m_cloud.url());
        fresh.withBasic(kEmail, kPassword);
        return upload(fresh, {file});
    }

    int requestCount(const QString &request) const
    {
        return control(QStringLiteral("counts"))
            .object()
            .value(QStringLiteral("requests"))
            .toObject()
            .value(request)
            .toInt();
    }
};

TEST_F(Faults, AnswerTheNextRequestsOfAPathWithAStatus)
{
    fault({{QStringLiteral("path"), QStringLiteral("/api/v1")},
           {QStringLiteral("count"), 2},
           {QStringLiteral("status"), 429},
           {QStringLiteral("headers"), QJsonObject{{QStringLiteral("Retry-After"), QStringLiteral("3")}}}});
    EXPECT_EQ(control(QStringLiteral("faults")).array().size(), 1);

    HttpClient pinging = client();
    const HttpAnswer refused = pinging.get(kPing);

    EXPECT_EQ(refused.status, 429);
    EXPECT_EQ(refused.headers.value("retry-after"), "3");
    EXPECT_EQ(pinging.get(kPing).status, 429);
    EXPECT_EQ(pinging.get(kPing).status, 204);
    EXPECT_EQ(control(QStringLiteral("faults")).array().size(), 0);
}

TEST_F(Faults, AnswerAnUploadWithAPageOfHtmlAndStoreNothing)
{
    fault({{QStringLiteral("path"), kStudies},
           {QStringLiteral("method"), QStringLiteral("POST")},
           {QStringLiteral("status"), 200},
           {QStringLiteral("contentType"), QStringLiteral("text/html")},
           {QStringLiteral("body"), QStringLiteral("<html>Welcome to the hotel</html>")}});

    const HttpAnswer answer = uploadOnce(sampleFile());

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.headers.value("content-type"), "text/html");
    EXPECT_TRUE(answer.body.contains("hotel"));
    EXPECT_EQ(instanceCount(), 0);
}

TEST_F(Faults, AnswerALargeUploadBeforeItIsThrough)
{
    fault({{QStringLiteral("path"), kStudies}, {QStringLiteral("status"), 503}});
    Sample large;
    large.pixels = QByteArray(8 * 1024 * 1024, 'x');

    EXPECT_EQ(uploadOnce(sampleFile(large)).status, 503);
}

TEST_F(Faults, CutTheConnectionInsideTheBody)
{
    fault({{QStringLiteral("path"), kStudies}, {QStringLiteral("cutAfterBodyBytes"), 100}});

    const HttpAnswer answer = uploadOnce(sampleFile());

    EXPECT_NE(answer.curlCode, CURLE_OK);
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(instanceCount(), 0);
    EXPECT_EQ(filesIn(QStringLiteral("incoming")), 0);
    EXPECT_EQ(uploadOnce(sampleFile()).status, 200);
}

TEST_F(Faults, CutTheConnectionAfterStoringAndBeforeAnswering)
{
    fault({{QStringLiteral("path"), kStudies}, {QStringLiteral("cutBeforeAnswer"), true}});

    const HttpAnswer answer = uploadOnce(sampleFile());

    EXPECT_NE(answer.curlCode, CURLE_OK);
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(instanceCount(), 1);
}

TEST_F(Faults, DelayAnAnswer)
{
    fault({{QStringLiteral("path"), kPing}, {QStringLiteral("delayMs"), kForeverMs}});

    EXPECT_EQ(client().withTimeLimit(kShortLimit).get(kPing).curlCode, CURLE_OPERATION_TIMEDOUT);

    EXPECT_EQ(client().get(kPing).status, 204);
}

TEST_F(Faults, ThrottleATransfer)
{
    Sample large;
    large.pixels = QByteArray(1024 * 1024, 'x');
    fault({{QStringLiteral("path"), kStudies}, {QStringLiteral("bytesPerSecond"), 10}});

    HttpClient slow(m_cloud.url());
    slow.withBasic(kEmail, kPassword).withTimeLimit(kShortLimit);

    EXPECT_EQ(upload(slow, {sampleFile(large)}).curlCode, CURLE_OPERATION_TIMEDOUT);
    EXPECT_EQ(uploadOnce(sampleFile(large)).status, 200);
}

TEST_F(Faults, LetASlowTransferComeThroughWhole)
{
    Sample sample;
    sample.pixels = QByteArray(20'000, 'x');
    fault({{QStringLiteral("path"), kStudies}, {QStringLiteral("bytesPerSecond"), 200'000}});

    EXPECT_EQ(uploadOnce(sampleFile(sample)).status, 200);
    EXPECT_EQ(instanceCount(), 1);
}

TEST_F(Faults, EndWithTheServerAtOnce)
{
    fault({{QStringLiteral("path"), kPing}, {QStringLiteral("delayMs"), kForeverMs}});
    const QString url = m_cloud.url();
    std::thread waiting([url] { HttpClient(url).get(kPing); });
    while (client().get(QStringLiteral("/control/faults")).status == 200 &&
           requestCount(QStringLiteral("GET /api/v1/ping")) == 0) {
        std::this_thread::yield();
    }

    m_endedByTest = true;
    EXPECT_EQ(m_cloud.stop(), 0);
    waiting.join();
}

TEST_F(Faults, AreForgottenWhenCleared)
{
    fault({{QStringLiteral("path"), QStringLiteral("/")},
           {QStringLiteral("count"), QJsonValue()},
           {QStringLiteral("status"), 500}});
    EXPECT_EQ(client().get(kPing).status, 500);
    EXPECT_EQ(client().get(kPing).status, 500);

    steer(QStringLiteral("faults/clear"), {});

    EXPECT_EQ(client().get(kPing).status, 204);
}

TEST_F(Faults, AreRefusedWhenTheyCantBeUnderstood)
{
    EXPECT_EQ(client().post(QStringLiteral("/control/faults"), {{QStringLiteral("statsu"), 500}}).status,
              422);
    EXPECT_EQ(client().post(QStringLiteral("/control/allowance"), {}).status, 422);
    EXPECT_EQ(client().get(QStringLiteral("/control/nothing")).status, 404);
}

TEST_F(Faults, AreCountedWithEverythingElse)
{
    HttpClient pinging = client();
    pinging.get(kPing);
    pinging.get(kPing);
    ASSERT_EQ(uploadOnce(sampleFile()).status, 200);

    const QJsonObject counts = control(QStringLiteral("counts")).object();

    EXPECT_EQ(requestCount(QStringLiteral("GET /api/v1/ping")), 2);
    EXPECT_EQ(requestCount(QStringLiteral("POST /dicom-web/studies")), 1);
    EXPECT_EQ(counts.value(QStringLiteral("instances")).toInt(), 1);
    EXPECT_EQ(counts.value(QStringLiteral("instanceBytes")).toInt(), sampleFile().size());
    EXPECT_GT(counts.value(QStringLiteral("bytesReceived")).toInt(), sampleFile().size());
    EXPECT_GT(counts.value(QStringLiteral("bytesSent")).toInt(), 0);
    steer(QStringLiteral("counts/reset"), {});
    EXPECT_EQ(requestCount(QStringLiteral("GET /api/v1/ping")), 0);
}

} // namespace
} // namespace gateway::cloud::testing
