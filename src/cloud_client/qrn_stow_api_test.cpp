#include "cloud_client/qrn_stow_api.h"

#include "cloud_client/stow_answer.h"
#include "cloud_client/testing/stow_answers.h"
#include "platform/dicom/testing/identities.h"

#include <QtCore/QRegularExpression>

#include <atomic>

namespace gateway::cloud_client::testing {

using platform::testing::instanceUid;

TEST(StowUpload, SendsOneFileAsOnePartOfKnownLength)
{
    ScriptedService service(answeringDataset(200, dataset({"1.2.3"})));
    SampleFiles files;

    const QVariantMap answer =
        QrnStowAPI(service.client)
            .upload(service.client.session(), identified(files.dicom("1.2.3")), kDevice, {});

    const ReceivedRequest request = service.server.requests().first();
    EXPECT_TRUE(request.is("POST", "/dicom-web/studies"));
    EXPECT_TRUE(request.headers.value("content-type")
                    .startsWith("multipart/related; type=\"application/dicom\"; boundary="));
    EXPECT_EQ(request.headers.value("accept"), kDicomJson);
    EXPECT_EQ(request.headers.value("x-quorin-device"), "DEVICE-1");
    EXPECT_EQ(request.headers.value("content-length"), QByteArray::number(request.body.size()));
    EXPECT_FALSE(request.headers.contains("expect"));
    EXPECT_TRUE(request.body.contains("\r\nContent-Type: application/dicom\r\n\r\n"));
    EXPECT_TRUE(answer.contains(QStringLiteral("00081199")));
}

TEST(StowUpload, SendsEachFileOfABatchUnchanged)
{
    ScriptedService service(answeringDataset(200, dataset({"1.2.3", "1.2.4"})));
    SampleFiles files;

    EXPECT_TRUE(succeeds(service.client, {files.dicom("1.2.3", 5000), files.dicom("1.2.4", 7000)}));

    const ReceivedRequest request = service.server.requests().first();
    EXPECT_TRUE(request.body.contains(metaHeader("1.2.3") + QByteArray(5000, 'p') + "\r\n--"));
    EXPECT_TRUE(request.body.contains(metaHeader("1.2.4") + QByteArray(7000, 'p') + "\r\n--"));
}

TEST(StowUpload, TakesAWarningAloneForASuccess)
{
    const QByteArray warned =
        "{\"00081199\":" + entries({"1.2.3"}, ",\"00081196\":{\"vr\":\"US\",\"Value\":[45056]}") + "}";
    ScriptedService service(answeringDataset(202, warned));
    SampleFiles files;

    EXPECT_TRUE(succeeds(service.client, {files.dicom("1.2.3")}));
}

TEST(StowUpload, NamesTheFailedInstancesOfA202)
{
    ScriptedService service(answeringDataset(202, dataset({"1.2.3", "1.2.5"}, {"1.2.4"}, 0xA700)));
    SampleFiles files;
    const QList<QUrl> urls{files.dicom("1.2.3"), files.dicom("1.2.4"), files.dicom("1.2.5")};

    const auto refusal = refusalOf(service.client, urls);

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures, (QList<QStringList>{{QStringLiteral("1.2.4"), urls[1].toLocalFile()}}));
    EXPECT_EQ(refusal->code, 0xA700);
    EXPECT_EQ(refusal->reasons, (QHash<platform::InstanceUid, int>{{instanceUid("1.2.4"), 0xA700}}));
    EXPECT_FALSE(refusal->cause);
    EXPECT_FALSE(refusal->names(urls[0], instanceUid("1.2.3")));
    EXPECT_TRUE(refusal->names(urls[1], instanceUid("1.2.4")));
}

TEST(StowUpload, LosesNoTimeOnInstancesThatA400Or409Stored)
{
    for (const int status : {400, 409}) {
        ScriptedService service(answeringDataset(status, dataset({"1.2.3"}, {"1.2.4"})));
        SampleFiles files;
        const QList<QUrl> urls{files.dicom("1.2.3"), files.dicom("1.2.4")};

        const auto refusal = refusalOf(service.client, urls);

        ASSERT_TRUE(refusal) << status;
        EXPECT_FALSE(refusal->names(urls[0], instanceUid("1.2.3")));
        EXPECT_TRUE(refusal->names(urls[1], instanceUid("1.2.4")));
    }
}

TEST(StowUpload, TakesAnInstanceThatIsThereAlreadyForSent)
{
    for (const int reason : {0x0111, 45070}) {
        ScriptedService service(answeringDataset(409, dataset({}, {"1.2.3"}, reason)));
        SampleFiles files;

        EXPECT_TRUE(succeeds(service.client, {files.dicom("1.2.3")})) << reason;
    }
}

TEST(StowUpload, TellsWhatWasThereAlreadyFromWhatIsNew)
{
    const QByteArray warned =
        "{\"00081199\":" + entries({"1.2.3"}, ",\"00081196\":{\"Value\":[45070]}") + "}";
    for (const auto &[answer, wasThere] : {std::pair(dataset({}, {"1.2.3"}, 45070), true),
                                           std::pair(warned, true),
                                           std::pair(dataset({"1.2.3"}), false)}) {
        ScriptedService service(answeringDataset(200, answer));
        SampleFiles files;
        QrnStowAPI api(service.client);

        const QVariantMap proven =
            api.upload(service.client.session(), identified(files.dicom("1.2.3")), kDevice, {});

        EXPECT_EQ(alreadyStoredIn(proven).contains(instanceUid("1.2.3")), wasThere) << answer.toStdString();
    }
}

TEST(StowUpload, TellsWhatWasThereAlreadyBesideWhatIsRefused)
{
    const QByteArray mixed =
        "{\"00081198\":{\"vr\":\"SQ\",\"Value\":[{\"00081155\":{\"Value\":[\"1.2.3\"]},\"00081197\":{"
        "\"Value\":[45070]}},{\"00081155\":{\"Value\":[\"1.2.4\"]},\"00081197\":{\"Value\":[272]}}]}}";
    ScriptedService service(answeringDataset(409, mixed));
    SampleFiles files;

    const auto refusal = refusalOf(service.client, {files.dicom("1.2.3"), files.dicom("1.2.4")});

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->alreadyStored, (QSet<platform::InstanceUid>{instanceUid("1.2.3")}));
}

TEST(StowUpload, RefusesAnInstanceThatIsNamedBothWays)
{
    ScriptedService service(answeringDataset(202, dataset({"1.2.3"}, {"1.2.3"})));
    SampleFiles files;

    EXPECT_TRUE(refusalOf(service.client, {files.dicom("1.2.3")}));
}

TEST(StowUpload, CountsAnInstanceThatTheAnswerPassesOverAsFailed)
{
    ScriptedService service(answeringDataset(200, dataset({"1.2.30", "1.2"})));
    SampleFiles files;
    const QUrl url = files.dicom("1.2.3");

    const auto refusal = refusalOf(service.client, {url});

    ASSERT_TRUE(refusal);
    EXPECT_TRUE(refusal->names(url, instanceUid("1.2.3")));
    EXPECT_EQ(service.server.requests().size(), 1);
}

TEST(StowUpload, ThrowsForARefusalThatNamesAnotherInstanceAndKeepsItsOwnAsSent)
{
    ScriptedService service(answeringDataset(202, dataset({"1.2.3"}, {"9.9.9"})));
    SampleFiles files;
    const QUrl url = files.dicom("1.2.3");

    const auto refusal = refusalOf(service.client, {url});

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures, (QList<QStringList>{{QStringLiteral("9.9.9")}}));
    EXPECT_FALSE(refusal->names(url, instanceUid("1.2.3")));
}

TEST(StowUpload, TakesANamelessRefusalForTheInstanceThatTheAnswerPassesOver)
{
    const QByteArray nameless =
        "\"00081198\":{\"vr\":\"SQ\",\"Value\":[{\"00081197\":{\"vr\":\"US\",\"Value\":[49152]}}]}";
    SampleFiles files;
    const QList<QUrl> urls{files.dicom("1.2.3"), files.dicom("1.2.4")};

    ScriptedService partly(
        answeringDataset(202, "{\"00081199\":" + entries({"1.2.3"}) + "," + nameless + "}"));
    const auto refusal = refusalOf(partly.client, urls);
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures, (QList<QStringList>{{QStringLiteral("1.2.4"), urls[1].toLocalFile()}}));
    EXPECT_EQ(refusal->code, 49152);

    ScriptedService wholly(
        answeringDataset(202, "{\"00081199\":" + entries({"1.2.3", "1.2.4"}) + "," + nameless + "}"));
    const auto vague = refusalOf(wholly.client, urls);
    ASSERT_TRUE(vague);
    EXPECT_EQ(vague->failures, (QList<QStringList>{{}}));
    EXPECT_EQ(vague->code, 49152);
}

TEST(StowUpload, ReadsAnAnswerInXml)
{
    ScriptedService service(answeringDataset(
        200,
        "<NativeDicomModel><DicomAttribute tag=\"00081199\" vr=\"SQ\"><Item number=\"1\"><DicomAttribute "
        "tag=\"00081155\" vr=\"UI\"><Value "
        "number=\"1\">1.2.3</Value></DicomAttribute></Item></DicomAttribute>"
        "</NativeDicomModel>",
        "application/dicom+xml; charset=utf-8"));
    SampleFiles files;

    EXPECT_TRUE(succeeds(service.client, {files.dicom("1.2.3")}));
}

TEST(StowUpload, MarksNothingAsSentForAPageOfHtmlWithStatus200)
{
    const QByteArray page =
        ScriptedHttpServer::answer(200, "text/html", "<html>Please log in to the proxy</html>");
    ScriptedService service(answering(page));
    SampleFiles files;
    const QUrl url = files.dicom("1.2.3");

    const auto refusal = refusalOf(service.client, {url});

    ASSERT_TRUE(refusal);
    EXPECT_TRUE(refusal->names(url, instanceUid("1.2.3")));
}

TEST(StowUpload, AsksForEachInstanceWhereAGoodAnswerCannotBeRead)
{
    ScriptedService service(answering(ScriptedHttpServer::answer(200), {"1.2.3", "1.2.5"}));
    SampleFiles files;
    const QList<QUrl> urls{files.dicom("1.2.3"), files.dicom("1.2.4"), files.dicom("1.2.5")};

    const auto refusal = refusalOf(service.client, urls);

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures, (QList<QStringList>{{QStringLiteral("1.2.4"), urls[1].toLocalFile()}}));
    EXPECT_EQ(service.server.requests().at(1).target, "/dicom-web/instances?SOPInstanceUID=1.2.3&limit=16");
}

TEST(StowUpload, TellsWhatWasTakenAndCannotBeFoundYetFromWhatWasNot)
{
    using Server = ScriptedHttpServer;
    const struct
    {
        QByteArray answer;
        bool isTaken;
    } cases[] = {{Server::answer(202), true},
                 {Server::answer(200), true},
                 {Server::answer(202, "text/plain", "queued"), true},
                 {Server::answer(202, "text/html", "<html>Please wait</html>"), false},
                 {Server::answer(200, "text/plain", "hello"), false}};
    for (const auto &[answer, isTaken] : cases) {
        ScriptedService service(answering(answer, {"1.2.3"}));
        SampleFiles files;

        const auto refusal = refusalOf(service.client, {files.dicom("1.2.3"), files.dicom("1.2.4")});

        ASSERT_TRUE(refusal);
        EXPECT_EQ(refusal->taken, isTaken ? QSet{instanceUid("1.2.4")} : QSet<platform::InstanceUid>());
    }
}

TEST(StowUpload, LooksWhichInstancesAreThereWhereAConflictIsAllThatIsSaid)
{
    SampleFiles files;
    const QList<QUrl> urls{files.dicom("1.2.3"), files.dicom("1.2.4")};
    ScriptedService some(answering(ScriptedHttpServer::answer(409), {"1.2.3"}));
    ScriptedService none(answering(ScriptedHttpServer::answer(409), {}));

    const auto refusal = refusalOf(some.client, urls);
    const auto conflict = errorOf<AFError>([&] {
        QrnStowAPI(none.client).upload(none.client.session(), identified(urls.first()), kDevice, {});
    });

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures.size(), 2) << "a look proves none: nobody said whose it is";
    EXPECT_EQ(refusal->found, QSet<platform::InstanceUid>{instanceUid("1.2.3")});
    EXPECT_TRUE(refusal->alreadyStored.isEmpty());
    ASSERT_TRUE(conflict);
    EXPECT_EQ(conflict->responseCode, 409);
}

TEST(StowUpload, LooksWhichInstancesAreThereWhereAConflictGivesNoReasonOfUse)
{
    SampleFiles files;
    const QList<QUrl> urls{files.dicom("1.2.3"), files.dicom("1.2.4")};
    const QByteArray nameless = R"({"00081198":{"vr":"SQ","Value":[{"00081197":{"Value":[272]}}]}})";
    for (const QByteArray &body : {dataset({}, {"1.2.3", "1.2.4"}, 272), nameless}) {
        ScriptedService service(answering(ScriptedHttpServer::answer(409, kDicomJson, body), {"1.2.3"}));

        const auto refusal = refusalOf(service.client, urls);

        ASSERT_TRUE(refusal) << body.toStdString();
        EXPECT_EQ(refusal->found, QSet<platform::InstanceUid>{instanceUid("1.2.3")}) << body.toStdString();
        EXPECT_TRUE(refusal->alreadyStored.isEmpty());
        EXPECT_TRUE(refusal->names(urls[0], instanceUid("1.2.3"))) << "a look proves none";
        EXPECT_TRUE(refusal->names(urls[1], instanceUid("1.2.4")));
    }
}

TEST(StowUpload, LooksForNothingWhereAConflictSaysWhatIsWrong)
{
    SampleFiles files;
    ScriptedService service(
        answering(ScriptedHttpServer::answer(409, kDicomJson, dataset({}, {"1.2.3"}, 0xA900)), {"1.2.3"}));

    const auto refusal = refusalOf(service.client, {files.dicom("1.2.3")});

    ASSERT_TRUE(refusal);
    EXPECT_TRUE(refusal->found.isEmpty());
    EXPECT_EQ(service.server.requests().size(), 1);
}

TEST(StowUpload, AsksForAnInstanceInItsStudyAndSeries)
{
    ScriptedService service(answering(ScriptedHttpServer::answer(200), {"1.2.3"}));
    SampleFiles files;
    const StowFile file{files.dicom("1.2.3"), platform::testing::identity("1.2", "1.2.9", "1.2.3")};

    QrnStowAPI(service.client).upload(service.client.session(), file, kDevice, {});

    EXPECT_EQ(service.server.requests().at(1).target,
              "/dicom-web/studies/1.2/series/1.2.9/instances?SOPInstanceUID=1.2.3&limit=1");
}

TEST(StowUpload, BelievesNoQueryThatFindsTheInstanceInAnotherStudy)
{
    const auto isProven = [](const QByteArray &study) {
        const QByteArray found = "[{\"00080018\":{\"vr\":\"UI\",\"Value\":[\"1.2.3\"]},"
                                 "\"0020000D\":{\"vr\":\"UI\",\"Value\":[\"" +
                                 study + "\"]}}]";
        ScriptedService service([found](const ReceivedRequest &request) {
            return request.method == "POST" ? ScriptedHttpServer::answer(200)
                                            : ScriptedHttpServer::answer(200, kDicomJson, found);
        });
        SampleFiles files;
        const StowFile file{files.dicom("1.2.3"), platform::testing::identity("1.2", "", "1.2.3")};
        return !errorOf<QrnStowResponse>(
            [&] { QrnStowAPI(service.client).upload(service.client.session(), file, kDevice, {}); });
    };

    EXPECT_TRUE(isProven("1.2"));
    EXPECT_FALSE(isProven("9.9.9"));
}

TEST(StowUpload, TakesAnInstanceThatIsStoredInAnotherPlaceForUnproven)
{
    const auto retrieveUrl = [](const QByteArray &path) {
        return ",\"00081190\":{\"vr\":\"UR\",\"Value\":[\"" + path + "\"]}";
    };
    const StowFile file{{}, platform::testing::identity("1.2", "1.2.9", "1.2.3")};
    SampleFiles files;
    const auto isProven = [&](const QByteArray &path) {
        ScriptedService service(
            answeringDataset(200, "{\"00081199\":" + entries({"1.2.3"}, retrieveUrl(path)) + "}"));
        const QUrl url = files.dicom("1.2.3");
        return !errorOf<QrnStowResponse>([&] {
            QrnStowAPI(service.client)
                .upload(service.client.session(), StowFile{url, file.identity}, kDevice, {});
        });
    };

    EXPECT_TRUE(isProven("http://x/studies/9/dicom-web/studies/1.2/series/1.2.9/instances/1.2.3"));
    EXPECT_TRUE(isProven("/studies/1.2/series/1.2.9/instances/1.2.3"));
    EXPECT_TRUE(isProven("http://x/objects/17"));
    EXPECT_FALSE(isProven("http://x/studies/1.20/series/1.2.9/instances/1.2.3"));
    EXPECT_FALSE(isProven("http://x/studies/1.2/series/1.2.8/instances/1.2.3"));
}

TEST(StowUpload, KnowsAnOddPlaceByItsAddressWhetherThatIsEncodedOrNot)
{
    const StowReference stored{
        instanceUid("1.2.3"), QStringLiteral("http://x/studies/1.2%2F%20%25%3f/series/9%23/instances/1.2.3")};
    const StowReference plain{instanceUid("1.2.3"),
                              QStringLiteral("http://x/studies/1.2 a/series/9/instances/1.2.3")};
    const auto place = [](const char *study, const char *series) {
        return platform::testing::identity(study, series, "1.2.3");
    };

    EXPECT_TRUE(stored.names(place("1.2/ %?", "9#")));
    EXPECT_FALSE(stored.names(place("1.2", "9#")));
    EXPECT_TRUE(plain.names(place("1.2 a", "9")));
}

TEST(StowUpload, TakesNoAnswerToAQueryForAProofThatNamesAnotherInstance)
{
    ScriptedService service([](const ReceivedRequest &request) {
        return request.method == "POST"
                   ? ScriptedHttpServer::answer(200)
                   : ScriptedHttpServer::answer(
                         200, kDicomJson, R"([{"00080018":{"vr":"UI","Value":["1.2.30"]}}])");
    });
    SampleFiles files;

    EXPECT_TRUE(refusalOf(service.client, {files.dicom("1.2.3")}));
}

TEST(StowUpload, ProvesNothingWhenTheQueryFailsToo)
{
    ScriptedService service(answering(ScriptedHttpServer::answer(200), {"1.2.3", "1.2.4"}, 500));
    SampleFiles files;

    const auto refusal = refusalOf(service.client, {files.dicom("1.2.3"), files.dicom("1.2.4")});

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures.size(), 2);
    EXPECT_EQ(service.server.requests().size(), 2); // one question without an answer is enough
    EXPECT_EQ(refusal->taken, (QSet{instanceUid("1.2.3"), instanceUid("1.2.4")}))
        << "looked for before a send";
    EXPECT_FALSE(refusal->cause) << "the upload itself was answered";
}

TEST(StowUpload, EndsForAllWhereTheQueryIsToldThatTheSessionIsOver)
{
    ScriptedService service([](const ReceivedRequest &request) {
        return request.method == "POST"
                   ? ScriptedHttpServer::answer(200)
                   : ScriptedHttpServer::answer(401, "application/problem+json", R"({"kind": 0})");
    });
    SampleFiles files;

    const auto refusal = refusalOf(service.client, {files.dicom("1.2.3")});

    ASSERT_TRUE(refusal && refusal->cause);
    try {
        std::rethrow_exception(refusal->cause);
    } catch (const QrnErrorResponse &error) {
        EXPECT_EQ(error.kind, QrnErrorKind::sessionInvalid);
    }
}

TEST(StowUpload, FailsWhenTheConnectionIsCutAfterStoringAndSucceedsWhenSentAgain)
{
    bool hasStored = false;
    ScriptedService service([&hasStored](const ReceivedRequest &) {
        if (!std::exchange(hasStored, true)) {
            return QByteArray();
        }
        return ScriptedHttpServer::answer(409, kDicomJson, dataset({}, {"1.2.3"}, 0x0111));
    });
    SampleFiles files;
    const QUrl url = files.dicom("1.2.3");

    const auto error = errorOf<AFError>(
        [&] { QrnStowAPI(service.client).upload(service.client.session(), identified(url), kDevice, {}); });

    ASSERT_TRUE(error);
    EXPECT_FALSE(error->responseCode);
    EXPECT_TRUE(succeeds(service.client, {url}));
}

TEST(StowUpload, ThrowsTheWordsOfTheServiceForARefusedRequest)
{
    ScriptedService service(
        answeringDataset(403, R"({"detail": "Accept the terms.", "kind": 2})", "application/problem+json"));
    SampleFiles files;

    const auto error = errorOf<QrnErrorResponse>([&] {
        QrnStowAPI(service.client)
            .upload(service.client.session(), identified(files.dicom("1.2.3")), kDevice, {});
    });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::termsNotAccepted);
}

TEST(StowUpload, ThrowsTheStatusOfARequestWithoutWords)
{
    for (const int status : {302, 400, 401, 403, 409, 500, 503}) {
        ScriptedService service(answeringDataset(status, "<html/>", "text/html"));
        SampleFiles files;

        const auto error = errorOf<AFError>([&] {
            QrnStowAPI(service.client)
                .upload(service.client.session(), identified(files.dicom("1.2.3")), kDevice, {});
        });

        ASSERT_TRUE(error) << status;
        EXPECT_EQ(error->responseCode, status);
    }
}

} // namespace gateway::cloud_client::testing
