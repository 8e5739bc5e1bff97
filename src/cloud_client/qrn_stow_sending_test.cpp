// What goes out of a batch, and what is left of it on the way.
#include "cloud_client/testing/stow_answers.h"
#include "platform/dicom/testing/identities.h"

#include <QtCore/QFile>

#include <atomic>

namespace gateway::cloud_client::testing {

using platform::testing::instanceUid;

TEST(StowUpload, SendsABatchThatIsTooLargeInHalves)
{
    ScriptedService service([](const ReceivedRequest &request) {
        const QList<QByteArray> uids = instancesIn(request);
        return uids.size() > 2 ? ScriptedHttpServer::answer(413)
                               : ScriptedHttpServer::answer(200, kDicomJson, dataset(uids));
    });
    SampleFiles files;
    QList<QUrl> urls;
    for (int number = 1; number <= 7; ++number) {
        urls.append(files.dicom("1.2." + QByteArray::number(number)));
    }

    EXPECT_TRUE(succeeds(service.client, urls));
}

TEST(StowUpload, SendsNoFurtherBatchThatIsAsLargeAsARefusedOne)
{
    std::atomic<int> refusals = 0;
    ScriptedService service([&refusals](const ReceivedRequest &request) {
        const QList<QByteArray> uids = instancesIn(request);
        refusals += uids.size() > 1 ? 1 : 0;
        return uids.size() > 1 ? ScriptedHttpServer::answer(413)
                               : ScriptedHttpServer::answer(200, kDicomJson, dataset(uids));
    });
    SampleFiles files;
    const QList<QUrl> first{files.dicom("1.2.1"), files.dicom("1.2.2")};
    const QList<QUrl> second{files.dicom("1.2.3"), files.dicom("1.2.4"), files.dicom("1.2.5")};

    EXPECT_TRUE(succeeds(service.client, first));
    EXPECT_EQ(refusals, 1);
    EXPECT_TRUE(succeeds(service.client, second));

    EXPECT_EQ(refusals, 1);
}

TEST(StowUpload, FailsASingleFileThatIsTooLargeAndSendsTheOthers)
{
    ScriptedService service([](const ReceivedRequest &request) {
        const QList<QByteArray> uids = instancesIn(request);
        return uids.contains("1.2.2") ? ScriptedHttpServer::answer(413)
                                      : ScriptedHttpServer::answer(200, kDicomJson, dataset(uids));
    });
    SampleFiles files;
    const QList<QUrl> urls{files.dicom("1.2.1"), files.dicom("1.2.2"), files.dicom("1.2.3")};

    const auto refusal = refusalOf(service.client, urls);
    const auto alone = errorOf<AFError>([&] {
        QrnStowAPI(service.client).upload(service.client.session(), identified(urls[1]), kDevice, {});
    });

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures, (QList<QStringList>{{QStringLiteral("1.2.2"), urls[1].toLocalFile()}}));
    const auto cause = errorOf<AFError>([&] { std::rethrow_exception(refusal->cause); });
    ASSERT_TRUE(cause);
    EXPECT_EQ(cause->responseCode, 413);
    ASSERT_TRUE(alone);
    EXPECT_EQ(alone->responseCode, 413);
}

TEST(StowUpload, HearsARefusalThatComesBeforeTheBodyIsOver)
{
    ScriptedHttpServer server([](const ReceivedRequest &) { return ScriptedHttpServer::answer(413); },
                              ScriptedHttpServer::Moment::afterHead);
    MemoryTokenStore store;
    QuorinApiClient client(configurationFor(server.url()), store, stillClock());
    SampleFiles files;

    const auto error = errorOf<AFError>([&] {
        QrnStowAPI(client).upload(client.session(), identified(files.dicom("1.2.3", 32 << 20)), kDevice, {});
    });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->responseCode, 413);
}

TEST(StowUpload, FailsAFileWithoutAMetaHeaderAndSendsTheOthers)
{
    ScriptedService service([](const ReceivedRequest &request) {
        return ScriptedHttpServer::answer(200, kDicomJson, dataset(instancesIn(request)));
    });
    SampleFiles files;
    const QList<QUrl> urls{files.dicom("1.2.1"),
                           files.file(QStringLiteral("bare.dcm"), QByteArray(500, 'x')),
                           QUrl::fromLocalFile(files.path(QStringLiteral("missing.dcm"))),
                           files.dicom("1.2.3")};

    const auto refusal = refusalOf(service.client, urls);

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures, (QList<QStringList>{{urls[1].toLocalFile()}, {urls[2].toLocalFile()}}));
    EXPECT_TRUE(refusal->names(urls[1], instanceUid("1.2.2")));
    EXPECT_EQ(instancesIn(service.server.requests().first()), (QList<QByteArray>{"1.2.1", "1.2.3"}));
}

TEST(StowUpload, SaysThatASingleFileCannotBeSent)
{
    ScriptedService service(answeringDataset(200, dataset({})));
    SampleFiles files;

    const auto error = errorOf<AFError>([&] {
        QrnStowAPI(service.client)
            .upload(service.client.session(),
                    identified(files.file(QStringLiteral("x"), "not dicom")),
                    kDevice,
                    {});
    });

    ASSERT_TRUE(error);
    EXPECT_FALSE(error->responseCode);
    EXPECT_EQ(error->noAnswer, NoAnswer::unusableFile);
    EXPECT_TRUE(error->localizedDescription.contains(QStringLiteral("can't be read")));
    EXPECT_TRUE(service.server.requests().isEmpty());
}

TEST(StowUpload, LeavesOutAFileThatChangesInFlightAndSendsTheOthers)
{
    ScriptedService service([](const ReceivedRequest &request) {
        return ScriptedHttpServer::answer(200, kDicomJson, dataset(instancesIn(request)));
    });
    SampleFiles files;
    const QList<QUrl> urls{files.dicom("1.2.1", 3 << 20), files.dicom("1.2.2"), files.dicom("1.2.3")};
    bool hasChanged = false;

    const auto refusal = errorOf<QrnStowResponse>([&] {
        QrnStowAPI(service.client)
            .upload(service.client.session(), identified(urls), kDevice, [&](const UploadProgress &) {
                if (!std::exchange(hasChanged, true)) {
                    files.dicom("1.2.2", 1001);
                }
            });
    });

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->failures, (QList<QStringList>{{QStringLiteral("1.2.2"), urls[1].toLocalFile()}}));
}

TEST(StowUpload, ReportsProgressThatNeverGoesBackAndEndsWithTheWhole)
{
    ScriptedService service([](const ReceivedRequest &request) {
        return request.bodySize > (4 << 20)
                   ? ScriptedHttpServer::answer(413)
                   : ScriptedHttpServer::answer(200, kDicomJson, dataset({"1.2.1", "1.2.2"}));
    });
    SampleFiles files;
    QList<UploadProgress> seen;

    QrnStowAPI(service.client)
        .upload(service.client.session(),
                identified({files.dicom("1.2.1", 3 << 20), files.dicom("1.2.2", 3 << 20)}),
                kDevice,
                [&seen](const UploadProgress &progress) { seen.append(progress); });

    ASSERT_FALSE(seen.isEmpty());
    for (qsizetype step = 1; step < seen.size(); ++step) {
        EXPECT_GT(seen[step].completedUnitCount, seen[step - 1].completedUnitCount);
        EXPECT_EQ(seen[step].totalUnitCount, seen[0].totalUnitCount);
    }
    EXPECT_EQ(seen.last().completedUnitCount, seen.last().totalUnitCount);
    EXPECT_DOUBLE_EQ(seen.last().fractionCompleted(), 1.0);
}

TEST(StowUpload, NeedsNoMemoryForTheSizeOfAFile)
{
    ScriptedService service(answeringDataset(200, dataset({"1.2.3"})));
    SampleFiles files;
    const QUrl url = files.dicom("1.2.3");
    ASSERT_TRUE(QFile::resize(url.toLocalFile(), qint64{256} << 20)); // sparse
    const auto peakKilobytes = [] {
        QFile status(QStringLiteral("/proc/self/status"));
        EXPECT_TRUE(status.open(QIODevice::ReadOnly));
        const auto text = QString::fromLatin1(status.readAll());
        return QRegularExpression(QStringLiteral("VmHWM:\\s+(\\d+)")).match(text).captured(1).toLongLong();
    };
    const qint64 before = peakKilobytes();

    EXPECT_TRUE(succeeds(service.client, {url}));

    EXPECT_LT(peakKilobytes() - before, 64 * 1024);
    EXPECT_GT(service.server.requests().first().bodySize, qint64{256} << 20);
}

} // namespace gateway::cloud_client::testing
