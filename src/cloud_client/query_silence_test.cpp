#include "cloud_client/query_silence.h"

#include "cloud_client/testing/client_fixture.h"
#include "cloud_client/testing/sample_files.h"
#include "cloud_client/testing/stow_answers.h"

#include <gtest/gtest.h>

#include <future>

namespace gateway::cloud_client::testing {

namespace {

/// An archive that takes what it is sent without a word of it, and answers queries when it is told to.
struct SilentToQueries : ::testing::Test
{
    SilentToQueries() : server([this](const ReceivedRequest &request) { return answer(request); })
    {
        configuration = configurationFor(server.url());
        configuration.limits.silence = std::chrono::seconds(1);
    }

    ~SilentToQueries() override { end.set_value(); }

    QByteArray answer(const ReceivedRequest &request)
    {
        if (request.method == "GET" && !wantedPause.isEmpty()) {
            return ScriptedHttpServer::answer(429, {}, {}, "Retry-After: " + wantedPause + "\r\n");
        }
        if (request.method == "GET") {
            released.wait();
        }
        return ScriptedHttpServer::answer(200);
    }

    /// What isn't proven and was taken, of an upload of two.
    QSet<platform::InstanceUid> takenOf(QuorinApiClient &client)
    {
        const auto refusal = refusalOf(client, {files.dicom("1.2.3"), files.dicom("1.2.4")});
        return refusal ? refusal->taken : QSet<platform::InstanceUid>();
    }

    qsizetype queries() const
    {
        qsizetype count = 0;
        for (const ReceivedRequest &request : server.requests()) {
            count += request.method == "GET" ? 1 : 0;
        }
        return count;
    }

    QByteArray wantedPause; // for which a query asks in place of an answer; set before the first
    std::promise<void> end;
    const std::shared_future<void> released = end.get_future().share();
    ScriptedHttpServer server;
    CloudConfiguration configuration;
    platform::testing::ManualClock clock;
    MemoryTokenStore store;
    SampleFiles files;
};

} // namespace

TEST_F(SilentToQueries, AreAskedOncePerPauseAndHoldNoUploadUpMeanwhile)
{
    QuorinApiClient client(configuration, store, clock);
    const QSet both{platform::InstanceUid(QStringLiteral("1.2.3")),
                    platform::InstanceUid(QStringLiteral("1.2.4"))};

    EXPECT_EQ(takenOf(client), both);
    EXPECT_EQ(queries(), 1);

    clock.advance(QuerySilence::kPause - std::chrono::seconds(1));
    EXPECT_EQ(takenOf(client), both) << "looked for later";
    EXPECT_EQ(queries(), 1);

    clock.advance(std::chrono::seconds(1));
    EXPECT_EQ(takenOf(client), both);
    EXPECT_EQ(queries(), 2);
}

TEST_F(SilentToQueries, AreAskedAgainBehindThePauseThatTheyAskFor)
{
    wantedPause = "90";
    QuorinApiClient client(configuration, store, clock);

    EXPECT_EQ(takenOf(client).size(), 2) << "looked for later";
    clock.advance(std::chrono::seconds(89));
    EXPECT_EQ(takenOf(client).size(), 2);
    EXPECT_EQ(queries(), 1);

    clock.advance(std::chrono::seconds(1));
    EXPECT_EQ(takenOf(client).size(), 2);
    EXPECT_EQ(queries(), 2);
}

TEST_F(SilentToQueries, AreNotBelievedThatTheyWantToRestForAnHour)
{
    wantedPause = "3600";
    QuorinApiClient client(configuration, store, clock);
    EXPECT_EQ(takenOf(client).size(), 2);

    clock.advance(QuerySilence::kPause);
    EXPECT_EQ(takenOf(client).size(), 2);

    EXPECT_EQ(queries(), 2);
}

} // namespace gateway::cloud_client::testing
