#include "cloud/program_test/cloud_fixture.h"

#include "cloud/http/multipart_parser.h"
#include "cloud/http/text.h"

#include <QtCore/QFile>

namespace gateway::cloud::testing {
namespace {

class DicomwebService : public CloudTest
{
};

class CollectingSink final : public MultipartSink
{
public:
    void partBegan(const PartHeaders &headers) override
    {
        parts.emplace_back();
        types.append(QString::fromStdString(headers.at("content-type")));
    }

    void partData(std::string_view bytes) override
    {
        parts.last().append(bytes.data(), static_cast<qsizetype>(bytes.size()));
    }

    void partEnded() override {}

    QList<QByteArray> parts;
    QStringList types;
};

/// The files of a retrieval's answer.
CollectingSink partsOf(const HttpAnswer &answer)
{
    CollectingSink sink;
    const MediaType type = parseMediaType(answer.headers.value("content-type").toStdString());
    MultipartParser parser(type.parameter("boundary"), sink);
    parser.feed({answer.body.constData(), static_cast<std::size_t>(answer.body.size())});
    parser.finish();
    return sink;
}

/// Gives `prefix`, then zeros up to `length` bytes.
HttpClient::Reader zerosBehind(const QByteArray &prefix, qint64 length)
{
    return [prefix, length, at = qint64{0}](char *target, std::size_t size) mutable {
        const auto count = static_cast<std::size_t>(std::min<qint64>(static_cast<qint64>(size), length - at));
        for (std::size_t i = 0; i < count; ++i, ++at) {
            target[i] = at < prefix.size() ? prefix[at] : '\0';
        }
        return count;
    };
}

qint64 peakMemoryKb(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:")) {
            return line.mid(6).trimmed().split(' ').first().toLongLong();
        }
    }
    return -1;
}

TEST_F(DicomwebService, StoresAnUploadAndNamesEachInstance)
{
    HttpClient session = signedIn();

    const HttpAnswer answer = upload(session, {sampleFile(sampleNumber(1)), sampleFile(sampleNumber(2))});

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.headers.value("content-type"), "application/dicom+json");
    EXPECT_EQ(uidsIn(answer, kReferenced),
              (QStringList{QStringLiteral("1.2.3.1.1"), QStringLiteral("1.2.3.1.2")}));
    EXPECT_EQ(instanceCount(), 2);
    EXPECT_EQ(filesIn(QStringLiteral("incoming")), 0);
}

TEST_F(DicomwebService, TakesAnUploadInChunks)
{
    HttpClient session = signedIn();
    const QByteArray body = multipartBody({sampleFile()});

    const HttpAnswer answer =
        session.stream(kStudies,
                       kMultipartType,
                       std::nullopt,
                       [body, at = qsizetype{0}](char *target, std::size_t size) mutable {
                           const qsizetype count =
                               std::min<qsizetype>({static_cast<qsizetype>(size), 100, body.size() - at});
                           std::copy_n(body.constData() + at, count, target);
                           at += count;
                           return static_cast<std::size_t>(count);
                       });

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(instanceCount(), 1);
}

TEST_F(DicomwebService, TakesTheSameInstanceAgainAsASuccess)
{
    HttpClient session = signedIn();
    ASSERT_EQ(upload(session, {sampleFile()}).status, 200);

    const HttpAnswer again = upload(session, {sampleFile()});

    EXPECT_EQ(again.status, 200);
    EXPECT_EQ(uidsIn(again, kReferenced), QStringList{QStringLiteral("1.2.3.1.1")});
    EXPECT_EQ(instanceCount(), 1);
    EXPECT_EQ(filesIn(QStringLiteral("instances")), 1);
    const QJsonObject stored = control(QStringLiteral("instances")).array().at(0).toObject();
    EXPECT_EQ(stored.value(QStringLiteral("timesStored")).toInt(), 2);
}

TEST_F(DicomwebService, StoresTheGoodPartsAndNamesTheBadOnes)
{
    HttpClient session = signedIn();

    const HttpAnswer some = upload(session, {sampleFile(), "not DICOM"});
    const HttpAnswer none = upload(session, {"not DICOM"});

    EXPECT_EQ(some.status, 202);
    EXPECT_EQ(uidsIn(some, kReferenced).size(), 1);
    EXPECT_EQ(firstFailureReason(some), 0xC000);
    EXPECT_EQ(none.status, 409);
    EXPECT_EQ(instanceCount(), 1);
}

TEST_F(DicomwebService, RefusesInstancesThatControlNames)
{
    HttpClient session = signedIn();
    steer(QStringLiteral("refuse-instances"),
          {{QStringLiteral("sopInstanceUIDs"), QJsonArray{QStringLiteral("1.2.3.1.2")}},
           {QStringLiteral("failureReason"), 0xB00E},
           {QStringLiteral("count"), 1}});

    const HttpAnswer answer = upload(session, {sampleFile(sampleNumber(1)), sampleFile(sampleNumber(2))});

    EXPECT_EQ(answer.status, 202);
    EXPECT_EQ(uidsIn(answer, kReferenced), QStringList{QStringLiteral("1.2.3.1.1")});
    EXPECT_EQ(uidsIn(answer, kFailed), QStringList{QStringLiteral("1.2.3.1.2")});
    EXPECT_EQ(firstFailureReason(answer), 0xB00E);
    EXPECT_EQ(instanceCount(), 1);
    EXPECT_EQ(upload(session, {sampleFile(sampleNumber(2))}).status, 200);
}

TEST_F(DicomwebService, FailsPartsOfAnotherStudyThanTheAddressNames)
{
    HttpClient session = signedIn();

    const HttpAnswer other = session.send(
        "POST", kStudies + QStringLiteral("/9.9"), kMultipartType, multipartBody({sampleFile()}));
    const HttpAnswer same = session.send(
        "POST", kStudies + QStringLiteral("/1.2.3"), kMultipartType, multipartBody({sampleFile()}));

    EXPECT_EQ(other.status, 409);
    EXPECT_EQ(firstFailureReason(other), 0xA900);
    EXPECT_EQ(same.status, 200);
}

TEST_F(DicomwebService, RefusesAnUploadItCantRead)
{
    HttpClient session = signedIn();
    const QByteArray body = multipartBody({sampleFile()});

    EXPECT_EQ(session.send("POST", kStudies, kMultipartType, body.chopped(20)).status, 400);
    EXPECT_EQ(session.send("POST", kStudies, "multipart/related; type=\"application/dicom\"", body).status,
              400);
    EXPECT_EQ(session.send("POST", kStudies, "application/dicom", sampleFile()).status, 415);
    EXPECT_EQ(
        session.send("POST", kStudies, "multipart/related; type=\"image/png\"; boundary=b", body).status,
        415);
    EXPECT_EQ(session.send("POST", kStudies, kMultipartType, multipartBody({})).status, 400);
    EXPECT_EQ(session.send("POST", kStudies, kMultipartType, {}).status, 400);

    EXPECT_EQ(instanceCount(), 0);
    EXPECT_EQ(filesIn(QStringLiteral("instances")), 0);
    EXPECT_EQ(filesIn(QStringLiteral("incoming")), 0);
}

TEST_F(DicomwebService, AnswersForEveryUploadAboveTheAllowance)
{
    HttpClient session = signedIn();
    steer(QStringLiteral("allowance"), {{QStringLiteral("allowanceKb"), 2}});
    ASSERT_EQ(upload(session, {sampleFile()}).status, 200);
    Sample large = sampleNumber(2);
    large.pixels = QByteArray(4096, 'x');

    const HttpAnswer answer = upload(session, {sampleFile(large)});

    EXPECT_EQ(answer.status, 507);
    EXPECT_EQ(answer.kind(), 7);
    EXPECT_EQ(instanceCount(), 1);
}

TEST_F(DicomwebService, RefusesBodiesAboveTheLimitWithoutReadingThem)
{
    HttpClient session = signedIn();
    steer(QStringLiteral("limits"), {{QStringLiteral("maxBodyBytes"), 1500}});

    EXPECT_EQ(upload(session, {sampleFile()}).status, 200);
    EXPECT_EQ(upload(session, {sampleFile(), sampleFile()}).status, 413);
    const qint64 huge = qint64{1} << 40;
    EXPECT_EQ(session.stream(kStudies, kMultipartType, huge, zerosBehind({}, huge)).status, 413);
    EXPECT_EQ(session.stream(kStudies, kMultipartType, std::nullopt, zerosBehind({}, 5000)).status, 413);
    EXPECT_EQ(upload(session, {sampleFile()}).status, 200);
}

TEST_F(DicomwebService, KeepsALargeUploadOutOfItsMemory)
{
    constexpr qint64 kLength = 96 * 1024 * 1024;
    HttpClient session = signedIn();
    ASSERT_EQ(upload(session, {sampleFile()}).status, 200);
    const QByteArray head = multipartBody({sampleFile(sampleNumber(2))}).chopped(40);
    const QByteArray tail = QByteArray("\r\n--") + kBoundary + "--\r\n";
    const qint64 before = peakMemoryKb(m_cloud.pid());
    auto zeros = zerosBehind(head, kLength);

    const HttpAnswer answer =
        session.stream(kStudies,
                       kMultipartType,
                       kLength + tail.size(),
                       [&zeros, tail, ended = false](char *target, std::size_t size) mutable {
                           const std::size_t count = zeros(target, size);
                           if (count > 0 || ended) {
                               return count;
                           }
                           ended = true;
                           std::copy(tail.begin(), tail.end(), target);
                           return static_cast<std::size_t>(tail.size());
                       });

    EXPECT_EQ(answer.status, 200);
    EXPECT_LT(peakMemoryKb(m_cloud.pid()) - before, kLength / 1024 / 4);
}

TEST_F(DicomwebService, LetsPlainClientsInByBasicAuthentication)
{
    const HttpAnswer anonymous = client().get(kStudies + QStringLiteral("?limit=1"));

    EXPECT_EQ(client().withBasic(kEmail, kPassword).get(kStudies + QStringLiteral("?limit=1")).status, 204);
    EXPECT_EQ(client().withBasic(kEmail, QStringLiteral("x")).get(kStudies).kind(), 1);
    EXPECT_EQ(client().withHeader("Authorization: Basic ***").get(kStudies).status, 401);
    EXPECT_EQ(anonymous.status, 401);
    EXPECT_TRUE(anonymous.headers.value("www-authenticate").startsWith("Basic"));
}

TEST_F(DicomwebService, FindsStudiesByTheirAttributes)
{
    HttpClient session = signedIn();
    Sample other = sampleNumber(2);
    other.studyUid = "1.2.4";
    other.patientName = "Roe^Rick";
    other.studyDate = "20230101";
    ASSERT_EQ(upload(session, {sampleFile(), sampleFile(other)}).status, 200);

    const QJsonArray found =
        session
            .get(kStudies +
                 QStringLiteral("?PatientName=roe*&includefield=InstitutionName&fuzzymatching=true"))
            .array();
    const HttpAnswer unknownKey = session.get(kStudies + QStringLiteral("?PatientWeight=70"));

    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(valueOf(found[0], "0020000D"), QStringLiteral("1.2.4"));
    EXPECT_EQ(valueOf(found[0], "00100010"), QStringLiteral("Roe^Rick"));
    EXPECT_EQ(valueOf(found[0], "00080061"), QStringLiteral("CT"));
    EXPECT_EQ(valueOf(found[0], "00201208"), QStringLiteral("1"));
    EXPECT_EQ(session.get(kStudies + QStringLiteral("?StudyDate=20240101-20241231")).array().size(), 1);
    EXPECT_EQ(session.get(kStudies + QStringLiteral("?00100020=P1")).array().size(), 2);
    EXPECT_EQ(session.get(kStudies + QStringLiteral("?PatientID=P2")).status, 204);
    EXPECT_TRUE(unknownKey.headers.value("warning").startsWith("299 "));
    EXPECT_EQ(session.get(kStudies + QStringLiteral("?limit=x")).status, 400);
}

TEST_F(DicomwebService, PagesThroughStudiesUntilAShortPage)
{
    HttpClient session = signedIn();
    for (int i = 0; i < 5; ++i) {
        Sample sample = sampleNumber(i);
        sample.studyUid = "1.2." + QByteArray::number(i);
        ASSERT_EQ(upload(session, {sampleFile(sample)}).status, 200);
    }

    QStringList found;
    QJsonArray page;
    do {
        page = session.get(kStudies + QStringLiteral("?limit=2&offset=%1").arg(found.size())).array();
        for (const auto &study : std::as_const(page)) {
            found.append(valueOf(study, "0020000D"));
        }
    } while (page.size() == 2);

    EXPECT_EQ(found.join(u' '), QStringLiteral("1.2.0 1.2.1 1.2.2 1.2.3 1.2.4"));
}

TEST_F(DicomwebService, FindsSeriesAndInstances)
{
    HttpClient session = signedIn();
    ASSERT_EQ(upload(session, {sampleFile(sampleNumber(1)), sampleFile(sampleNumber(2))}).status, 200);
    const QString study = kStudies + QStringLiteral("/1.2.3");

    const QJsonArray series = session.get(study + QStringLiteral("/series?Modality=CT")).array();
    const QJsonArray all = session.get(QStringLiteral("/dicom-web/series")).array();
    const QJsonArray instances = session.get(study + QStringLiteral("/series/1.2.3.1/instances")).array();

    ASSERT_EQ(series.size(), 1);
    EXPECT_EQ(valueOf(series[0], "0020000E"), QStringLiteral("1.2.3.1"));
    EXPECT_EQ(valueOf(series[0], "00200011"), QStringLiteral("2"));
    EXPECT_EQ(valueOf(series[0], "00201209"), QStringLiteral("2"));
    EXPECT_EQ(valueOf(all.at(0), "00100010"), QStringLiteral("Doe^Jane"));
    ASSERT_EQ(instances.size(), 2);
    EXPECT_EQ(valueOf(instances[1], "00080018"), QStringLiteral("1.2.3.1.2"));
    EXPECT_EQ(valueOf(instances[1], "00280010"), QStringLiteral("16"));
    EXPECT_EQ(session.get(QStringLiteral("/dicom-web/instances?SOPInstanceUID=1.2.3.1.1")).array().size(), 1);
    EXPECT_EQ(session.get(study + QStringLiteral("/instances?SOPInstanceUID=9")).status, 204);
    EXPECT_EQ(session.get(QStringLiteral("/dicom-web/nothing")).status, 404);
    EXPECT_EQ(session.get(study + QStringLiteral("/series/1/frames")).status, 404);
}

TEST_F(DicomwebService, GivesAddressesOfOddIdentifiersThatLeadToThem)
{
    HttpClient session = signedIn();
    Sample odd;
    odd.studyUid = "1.2 a?b#c%20";
    odd.seriesUid = "1.2&s=1";
    odd.sopInstanceUid = "1.2+3;4";
    const QByteArray file = sampleFile(odd);
    const HttpAnswer stored = upload(session, {file});
    ASSERT_EQ(stored.status, 200);

    const QJsonArray found = session.get(QStringLiteral("/dicom-web/instances")).array();
    const QString told =
        valueOf(stored.object()[QLatin1String(kReferenced)].toObject()[u"Value"][0], "00081190");
    ASSERT_EQ(found.size(), 1);

    EXPECT_EQ(valueOf(found[0], "00081190"), told);
    EXPECT_EQ(QUrl(told, QUrl::StrictMode).path(QUrl::FullyDecoded).section(u'/', 2),
              QStringLiteral("studies/1.2 a?b#c%20/series/1.2&s=1/instances/1.2+3;4"));
    const CollectingSink parts = partsOf(session.get(QUrl(told).path(QUrl::FullyEncoded)));
    ASSERT_EQ(parts.parts.size(), 1);
    EXPECT_EQ(parts.parts.front(), file);
}

TEST_F(DicomwebService, GivesBackTheBytesItWasSent)
{
    HttpClient session = signedIn();
    Sample explicitSample = sampleNumber(1);
    explicitSample.pixels = QByteArray("\r\n--sample-boundar\r\n").repeated(200'000);
    Sample implicitSample = sampleNumber(2);
    implicitSample.transferSyntaxUid = "1.2.840.10008.1.2";
    const QList<QByteArray> files{sampleFile(explicitSample), sampleFile(implicitSample)};
    ASSERT_EQ(upload(session, files).status, 200);
    const QString study = kStudies + QStringLiteral("/1.2.3");

    const CollectingSink whole = partsOf(session.get(study));
    const CollectingSink one =
        partsOf(session.get(study + QStringLiteral("/series/1.2.3.1/instances/1.2.3.1.2")));

    EXPECT_EQ(whole.parts, files);
    EXPECT_EQ(whole.types[1], QStringLiteral("application/dicom; transfer-syntax=1.2.840.10008.1.2"));
    EXPECT_EQ(one.parts, QList<QByteArray>{files[1]});
    EXPECT_EQ(session.get(kStudies + QStringLiteral("/9.9")).status, 404);
    EXPECT_EQ(HttpClient(m_cloud.url())
                  .withBasic(kEmail, kPassword)
                  .withHeader("Accept: image/png")
                  .get(study)
                  .status,
              406);
}

TEST_F(DicomwebService, TellsTheMetadataOfEverySyntax)
{
    HttpClient session = signedIn();
    Sample deflated = sampleNumber(2);
    deflated.transferSyntaxUid = "1.2.840.10008.1.2.1.99";
    Sample bigEndian = sampleNumber(3);
    bigEndian.transferSyntaxUid = "1.2.840.10008.1.2.2";
    ASSERT_EQ(upload(session, {sampleFile(), sampleFile(deflated), sampleFile(bigEndian)}).status, 200);

    const QJsonArray read = session.get(kStudies + QStringLiteral("/1.2.3/metadata")).array();

    ASSERT_EQ(read.size(), 3);
    for (const QJsonValue &instance : read) {
        EXPECT_EQ(valueOf(instance, "00081030"), QStringLiteral("Thorax"));
        EXPECT_EQ(valueOf(instance, "00280010").toInt(), 16);
        EXPECT_FALSE(instance.toObject().contains(QStringLiteral("7FE00010")));
    }
}

TEST_F(DicomwebService, RefusesADatasetThatItCantRead)
{
    HttpClient session = signedIn();
    const QByteArray broken = testing::fileHead("1.2.840.10008.1.2.1.99", "1.9") + "not deflated";

    EXPECT_EQ(upload(session, {broken}).status, 409);
    EXPECT_EQ(instanceCount(), 0);
}

TEST_F(DicomwebService, DeletesSeriesAndStudies)
{
    HttpClient session = signedIn();
    Sample second = sampleNumber(2);
    second.seriesUid = "1.2.3.2";
    ASSERT_EQ(upload(session, {sampleFile(), sampleFile(second)}).status, 200);
    const QString study = kStudies + QStringLiteral("/1.2.3");

    EXPECT_EQ(session.remove(study + QStringLiteral("/series/1.2.3.1")).status, 204);
    EXPECT_EQ(instanceCount(), 1);
    EXPECT_EQ(session.remove(study).status, 204);
    EXPECT_EQ(session.remove(study).status, 404);
    EXPECT_EQ(session.remove(study).kind(), 6);
    EXPECT_EQ(session.remove(kStudies).status, 405);
    EXPECT_EQ(filesIn(QStringLiteral("instances")), 0);
}

TEST_F(DicomwebService, KeepsOneConnectionForManyRequests)
{
    HttpClient session = signedIn();
    const int before =
        control(QStringLiteral("counts")).object().value(QStringLiteral("connections")).toInt();

    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(upload(session, {sampleFile(sampleNumber(i))}).status, 200);
        ASSERT_EQ(upload(session, {"not DICOM"}).status, 409);
        ASSERT_EQ(session.send("POST", kStudies, "text/plain", "small, refused, read").status, 415);
    }

    const int after = control(QStringLiteral("counts")).object().value(QStringLiteral("connections")).toInt();
    EXPECT_EQ(after - before, 2); // the session's and that of the second look
}

TEST_F(DicomwebService, TakesAnUploadThatCurlMakesByHand)
{
    QTemporaryDir folder;
    QFile body(folder.filePath(QStringLiteral("body")));
    ASSERT_TRUE(body.open(QIODevice::WriteOnly));
    body.write(multipartBody({sampleFile()}));
    body.close();
    ChildProgram curl;

    ASSERT_TRUE(curl.start({QStringLiteral("curl"),
                            QStringLiteral("--silent"),
                            QStringLiteral("--show-error"),
                            QStringLiteral("--fail"),
                            QStringLiteral("--user"),
                            kEmail + u':' + kPassword,
                            QStringLiteral("--header"),
                            QStringLiteral("Content-Type: ") + QLatin1String(kMultipartType),
                            QStringLiteral("--header"),
                            QStringLiteral("Expect: 100-continue"),
                            QStringLiteral("--data-binary"),
                            QStringLiteral("@") + body.fileName(),
                            m_cloud.url() + kStudies}));
    EXPECT_EQ(curl.wait(), 0) << curl.standardError().toStdString();
    EXPECT_EQ(instanceCount(), 1);
}

} // namespace
} // namespace gateway::cloud::testing
