#include "cloud_client/qrn_stow_api.h"

#include "cloud_client/testing/client_fixture.h"
#include "cloud_client/testing/sample_files.h"
#include "platform/dicom/testing/identities.h"

#include <QtCore/QFile>

#include <gtest/gtest.h>

#include <variant>

namespace gateway::cloud_client::testing {

namespace {

const platform::InstanceIdentity kInstance = platform::testing::identity("1.2", "1.2.9", "1.2.3");

ScriptedHttpServer::Handler answeringAlways(int status, const QByteArray &body, const QByteArray &type)
{
    return
        [answer = ScriptedHttpServer::answer(status, type, body)](const ReceivedRequest &) { return answer; };
}

/// What is fetched where the server answers so; the error's reason where that can't be used.
std::variant<QByteArray, NoAnswer>
fetched(const QByteArray &type, const QByteArray &body, qint64 limit = 1 << 20)
{
    ScriptedService service(answeringAlways(200, body, type));
    SampleFiles files;
    const QString path = files.path(QStringLiteral("fetched"));
    const auto error = errorOf<AFError>(
        [&] { QrnStowAPI(service.client).retrieve(service.client.session(), kInstance, path, limit); });
    if (error) {
        return error->noAnswer;
    }
    EXPECT_EQ(service.server.requests().first().target,
              "/dicom-web/studies/1.2/series/1.2.9/instances/1.2.3");
    EXPECT_EQ(service.server.requests().first().headers.value("accept"),
              "multipart/related; type=\"application/dicom\"; transfer-syntax=*");
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

QByteArray message(const QByteArray &bytes)
{
    return "\r\n--b\r\nContent-Type: application/dicom\r\n\r\n" + bytes + "\r\n--b--\r\n";
}

const QByteArray kMultipart = "multipart/related; type=\"application/dicom\"; boundary=b";

} // namespace

TEST(Retrieval, TakesTheInstanceOutOfTheMessage)
{
    const QByteArray bytes = QByteArray(3 << 20, 'p') + "\r\n--b but no end";

    EXPECT_EQ(std::get<QByteArray>(fetched(kMultipart, message(bytes), 4 << 20)), bytes);
    EXPECT_EQ(std::get<QByteArray>(fetched(kMultipart, message("short").mid(2))), "short");
    EXPECT_EQ(std::get<QByteArray>(fetched("application/dicom", "as it is")), "as it is");
}

TEST(Retrieval, TakesNothingElseForAnInstance)
{
    EXPECT_EQ(std::get<NoAnswer>(fetched("text/html", "<html>Hotel</html>")), NoAnswer::unusableAnswer);
    EXPECT_EQ(std::get<NoAnswer>(fetched(kMultipart, "")), NoAnswer::unusableAnswer);
    EXPECT_EQ(std::get<NoAnswer>(fetched(kMultipart, message("cut off").chopped(8))),
              NoAnswer::unusableAnswer);
    EXPECT_EQ(std::get<NoAnswer>(fetched(kMultipart, message(QByteArray(100'000, 'p')), 1000)),
              NoAnswer::unusableAnswer);
}

TEST(Retrieval, TellsTroubleOfThisMachineFromAnOddAnswer)
{
    ScriptedService service(answeringAlways(200, message("short"), kMultipart));
    SampleFiles files;
    const auto reason = [&](const QString &path) {
        const auto error = errorOf<AFError>(
            [&] { QrnStowAPI(service.client).retrieve(service.client.session(), kInstance, path, 1 << 20); });
        return error ? std::optional(error->noAnswer) : std::nullopt;
    };

    EXPECT_EQ(reason(files.path(QStringLiteral("none/fetched"))), NoAnswer::answerNotKept);
    EXPECT_EQ(reason(QStringLiteral("/dev/full")), NoAnswer::answerNotKept) << "it was there";
    EXPECT_TRUE(service.server.requests().empty());
}

TEST(Queries, FindAnInstanceInTheWholeSeriesThatAnArchiveWithoutLimitsGivesOut)
{
    QByteArray series = "[";
    for (int number = 0; number < 4000; ++number) {
        series += R"({"00080018":{"vr":"UI","Value":["1.2.3.)" + QByteArray::number(number) + R"("]},)" +
                  R"("00081190":{"vr":"UR","Value":["http://archive/a/long/address/of/it"]}},)";
    }
    series += R"({"00080018":{"vr":"UI","Value":["1.2.3"]}}])";
    ScriptedService service(answeringAlways(200, series, "application/dicom+json"));

    ASSERT_GT(series.size(), kBriefAnswer);
    EXPECT_TRUE(QrnStowAPI(service.client).isFound(service.client.session(), kInstance));
}

TEST(Queries, AskAnywhereWhereNothingIsAtTheAddressOfASeries)
{
    const auto archive = [](const QByteArray &anywhere) {
        return [anywhere](const ReceivedRequest &request) {
            return request.target.startsWith("/dicom-web/instances?")
                       ? ScriptedHttpServer::answer(200, "application/dicom+json", anywhere)
                       : ScriptedHttpServer::answer(404, "application/json", "{}");
        };
    };
    ScriptedService lacking(archive("[]"));
    EXPECT_FALSE(QrnStowAPI(lacking.client).isSeriesFound(lacking.client.session(), kInstance));
    EXPECT_FALSE(QrnStowAPI(lacking.client).isFound(lacking.client.session(), kInstance));
    EXPECT_EQ(lacking.server.requests().at(1).target, "/dicom-web/instances?SeriesInstanceUID=1.2.9&limit=1");

    const QByteArray elsewhere = R"({"00080018":{"vr":"UI","Value":["1.2.3"]}})";
    ScriptedService holding(archive("[" + elsewhere + "]"));
    EXPECT_TRUE(QrnStowAPI(holding.client).isSeriesFound(holding.client.session(), kInstance));
    EXPECT_TRUE(QrnStowAPI(holding.client).mayHold(holding.client.session(), kInstance));
    EXPECT_FALSE(QrnStowAPI(holding.client).isFound(holding.client.session(), kInstance))
        << "nothing is at its place, and this one may be of any";

    const QByteArray there = R"({"00080018":{"vr":"UI","Value":["1.2.3"]},)"
                             R"("0020000D":{"vr":"UI","Value":["1.2"]},)"
                             R"("0020000E":{"vr":"UI","Value":["1.2.9"]}})";
    ScriptedService both(archive("[" + elsewhere + "," + there + "]"));
    EXPECT_TRUE(QrnStowAPI(both.client).isFound(both.client.session(), kInstance));
}

TEST(Queries, ThatFindAnotherInstanceAreNoWordThatThisOneIsNotThere)
{
    const QByteArray json = "application/dicom+json";
    ScriptedService other(answeringAlways(200, R"([{"00080018":{"vr":"UI","Value":["1.2.30"]}}])", json));
    EXPECT_FALSE(QrnStowAPI(other.client).isFound(other.client.session(), kInstance));
    EXPECT_TRUE(QrnStowAPI(other.client).mayHold(other.client.session(), kInstance));

    ScriptedService none(answeringAlways(200, "[]", json));
    EXPECT_FALSE(QrnStowAPI(none.client).mayHold(none.client.session(), kInstance));
}

TEST(Queries, SayThatThereAreNoneWhereTheyAreRefusedAnywhere)
{
    ScriptedService service(answeringAlways(404, "{}", "application/json"));

    EXPECT_THROW(QrnStowAPI(service.client).isSeriesFound(service.client.session(), kInstance), QuorinError);
    EXPECT_EQ(service.server.requests().size(), 2);
}

TEST(Queries, TakeNothingButAListOrNoContentForAResult)
{
    const auto isFound = [](int status, const QByteArray &type, const QByteArray &body) {
        ScriptedService service(answeringAlways(status, body, type));
        return QrnStowAPI(service.client).isSeriesFound(service.client.session(), kInstance) ||
               QrnStowAPI(service.client).isFound(service.client.session(), kInstance);
    };
    const QByteArray json = "application/dicom+json";

    EXPECT_FALSE(isFound(204, "", ""));
    EXPECT_FALSE(isFound(200, json, "[]"));
    EXPECT_FALSE(isFound(200, "application/json", " []"));
    for (const auto &[type, body] :
         QList<std::pair<QByteArray, QByteArray>>{{"text/html", "<html>Hotel</html>"},
                                                  {"text/html", "[]"},
                                                  {json, ""},
                                                  {json, "[{}, "},
                                                  {json, "{\"message\": \"later\"}"},
                                                  {json, "null"}}) {
        const auto error = errorOf<AFError>([&] { isFound(200, type, body); });
        ASSERT_TRUE(error) << body.constData();
        EXPECT_EQ(error->noAnswer, NoAnswer::unusableAnswer);
        EXPECT_FALSE(error->responseCode);
    }
}

TEST(Retrieval, ThrowsTheStatusOfARefusal)
{
    ScriptedService service(answeringAlways(404, "none", "text/plain"));
    SampleFiles files;

    const auto error = errorOf<AFError>([&] {
        QrnStowAPI(service.client)
            .retrieve(service.client.session(), kInstance, files.path(QStringLiteral("fetched")), 1000);
    });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->responseCode, 404);
}

} // namespace gateway::cloud_client::testing
