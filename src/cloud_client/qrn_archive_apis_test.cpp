#include "cloud_client/qrn_delete_api.h"
#include "cloud_client/qrn_qido_api.h"
#include "cloud_client/qrn_tag_parser.h"
#include "cloud_client/testing/client_fixture.h"

#include <QtCore/QUrlQuery>

#include <gtest/gtest.h>

namespace gateway::cloud_client::testing {

namespace {

const QString kDevice = QStringLiteral("DEVICE-1");

QByteArray study(int number)
{
    return "{\"0020000D\":{\"vr\":\"UI\",\"Value\":[\"1.2." + QByteArray::number(number) +
           "\"]},\"00091001\":{\"vr\":\"LO\",\"Value\":[\"private\"]}}";
}

QString value(const ReceivedRequest &request, const char *name)
{
    return QUrlQuery(QUrl::fromEncoded(request.target))
        .queryItemValue(QString::fromLatin1(name), QUrl::FullyDecoded);
}

/// How an archive pages.
struct Paging
{
    bool knowsOffset = true;
    int atMost = 1000; ///< results a page, whatever is asked for
    int statusBehindLast = 204;
};

/// An archive of `count` studies that answers page by page.
ScriptedHttpServer::Handler archiveOf(int count, Paging paging = {})
{
    return [count, paging](const ReceivedRequest &request) {
        const int offset = paging.knowsOffset ? value(request, "offset").toInt() : 0;
        const int limit = std::min(value(request, "limit").toInt(), paging.atMost);
        if (offset >= count) {
            return ScriptedHttpServer::answer(paging.statusBehindLast);
        }
        QByteArray list;
        for (int number = offset; number < std::min(count, offset + limit); ++number) {
            list += (list.isEmpty() ? "" : ",") + study(number);
        }
        return ScriptedHttpServer::answer(200, "application/dicom+json", "[" + list + "]");
    };
}

} // namespace

TEST(QidoQuery, LeavesAbsentFiltersOut)
{
    ScriptedService service(archiveOf(0));

    EXPECT_TRUE(QrnQidoAPI(service.client).getAll({}).isEmpty());

    const ReceivedRequest request = service.server.requests().first();
    EXPECT_TRUE(request.target.startsWith("/dicom-web/studies?limit=100&offset=0&includefield="));
    EXPECT_EQ(request.headers.value("accept"), "application/dicom+json");
    for (const char *name :
         {"PatientName", "PatientID", "AccessionNumber", "StudyDate", "ModalitiesInStudy"}) {
        EXPECT_FALSE(request.target.contains("&" + QByteArray(name) + "=")) << name;
    }
}

TEST(QidoQuery, SendsAllNineFiltersEncoded)
{
    ScriptedService service(archiveOf(0));
    QrnQidoQueryRequest query;
    query.patientName = QStringLiteral("Müller & Söhne*");
    query.patientId = QStringLiteral("a=b");
    query.accessionNumber = QStringLiteral("acc");
    query.studyDescription = QStringLiteral("CT #1");
    query.referringPhysician = QStringLiteral("Dr");
    query.institutionName = QStringLiteral("Clinic");
    query.patientBirthDate = QStringLiteral("19700101");
    query.studyDate = QStringLiteral("20260101");
    query.modalitiesInStudy = QStringLiteral("CT");

    QrnQidoAPI(service.client).getAll(query);

    const ReceivedRequest request = service.server.requests().first();
    EXPECT_EQ(value(request, "PatientName"), *query.patientName);
    EXPECT_EQ(value(request, "PatientID"), *query.patientId);
    EXPECT_EQ(value(request, "AccessionNumber"), *query.accessionNumber);
    EXPECT_EQ(value(request, "StudyDescription"), *query.studyDescription);
    EXPECT_EQ(value(request, "ReferringPhysicianName"), *query.referringPhysician);
    EXPECT_EQ(value(request, "InstitutionName"), *query.institutionName);
    EXPECT_EQ(value(request, "PatientBirthDate"), *query.patientBirthDate);
    EXPECT_EQ(value(request, "StudyDate"), *query.studyDate);
    EXPECT_EQ(value(request, "ModalitiesInStudy"), *query.modalitiesInStudy);
}

TEST(QidoQuery, ReadsPageByPageUntilOneIsEmpty)
{
    for (const auto &[count, pages] :
         {std::pair(0, 1), std::pair(99, 2), std::pair(100, 2), std::pair(250, 4)}) {
        ScriptedService service(archiveOf(count));

        const QList<QVariantMap> found = QrnQidoAPI(service.client).getAll({});

        EXPECT_EQ(found.size(), count);
        EXPECT_EQ(service.server.requests().size(), pages) << count;
    }
}

TEST(QidoQuery, GoesOnWhereAServerSendsLessAtATimeThanItWasAskedFor)
{
    for (const int atMost : {1, 25, 99}) {
        ScriptedService service(archiveOf(130, {.atMost = atMost}));

        EXPECT_EQ(QrnQidoAPI(service.client).getAll({}).size(), 130) << atMost;
    }
}

TEST(QidoQuery, TakesARefusedOffsetBehindAShortPageForTheEndAndNoOther)
{
    for (const int status : {400, 404, 416}) {
        ScriptedService service(archiveOf(30, {.statusBehindLast = status}));
        ScriptedService broken(archiveOf(0, {.statusBehindLast = status}));

        EXPECT_EQ(QrnQidoAPI(service.client).getAll({}).size(), 30) << status;
        EXPECT_TRUE(errorOf<AFError>([&broken] { QrnQidoAPI(broken.client).getAll({}); })) << status;
    }
    for (const int status : {401, 429, 500}) {
        ScriptedService service(archiveOf(30, {.statusBehindLast = status}));

        EXPECT_TRUE(errorOf<AFError>([&service] { QrnQidoAPI(service.client).getAll({}); })) << status;
    }
}

TEST(QidoQuery, EndsAtAServerThatKnowsNoOffset)
{
    ScriptedService service(archiveOf(500, {.knowsOffset = false}));

    EXPECT_EQ(QrnQidoAPI(service.client).getAll({}).size(), 100);
    EXPECT_EQ(service.server.requests().size(), 2);
}

TEST(QidoQuery, TakesWhatHasNoIdentifierOnceFromAServerThatSendsItsPageAgain)
{
    QByteArray page = "{\"00100010\":{\"vr\":\"PN\"}}";
    for (int number = 1; number < 100; ++number) {
        page += "," + study(number);
    }
    ScriptedService service([&page](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(200, "application/dicom+json", "[" + page + "]");
    });

    EXPECT_EQ(QrnQidoAPI(service.client).getAll({}).size(), 100);
    EXPECT_EQ(service.server.requests().size(), 2);
}

TEST(QidoQuery, KeepsWhatHasNoIdentifierFromEveryPage)
{
    const auto unnamed = [](int number) {
        return "{\"00100010\":{\"vr\":\"PN\",\"Value\":[{\"Alphabetic\":\"Name" + QByteArray::number(number) +
               "\"}]}}";
    };
    for (const bool knowsOffset : {true, false}) {
        ScriptedService service([&unnamed, knowsOffset](const ReceivedRequest &request) {
            const int offset = knowsOffset ? value(request, "offset").toInt() : 0;
            QByteArray page; // of two studies with an identifier and four without
            for (int number = offset; number < std::min(6, offset + 2); ++number) {
                page += (page.isEmpty() ? "" : ",") + (number < 2 ? study(number) : unnamed(number));
            }
            return ScriptedHttpServer::answer(200, "application/dicom+json", "[" + page + "]");
        });

        EXPECT_EQ(QrnQidoAPI(service.client).getAll({}).size(), knowsOffset ? 6 : 2);
        EXPECT_EQ(service.server.requests().size(), knowsOffset ? 4 : 2);
    }
}

TEST(QidoQuery, HandsOverPageByPageUntilItIsTold)
{
    ScriptedService service(archiveOf(250));
    QList<qsizetype> pages;

    const auto all = QrnQidoAPI(service.client).getAll({}, [&pages](const QList<QVariantMap> &found) {
        pages.append(found.size());
        return true;
    });
    EXPECT_TRUE(all.isEmpty());
    EXPECT_EQ(pages, QList<qsizetype>({100, 100, 50}));
    pages.clear();
    QrnQidoAPI(service.client).getAll({}, [&pages](const QList<QVariantMap> &found) {
        pages.append(found.size());
        return false;
    });

    EXPECT_EQ(pages, QList<qsizetype>({100}));
}

TEST(QidoQuery, KeepsOnlyAttributesThatItAskedFor)
{
    ScriptedService service(archiveOf(1));

    const QVariantMap found = QrnQidoAPI(service.client).getAll({}).first();

    EXPECT_EQ(found.keys(), QStringList{QStringLiteral("0020000D")});
    EXPECT_EQ(QrnTagParser::getStringTag(found, QrnDicomTag::StudyInstanceUID), QStringLiteral("1.2.0"));
}

TEST(QidoQuery, LosesNoListForTextThatCannotBeRead)
{
    const QByteArray begin =
        R"([{"0020000D":{"vr":"UI","Value":["1.2"]}},{"0020000D":{"vr":"UI","Value":["1.3"]},)"
        R"("00100020":{"vr":"LO","Value":[")";
    const std::pair<QByteArray, QString> texts[] = {
        {"M\xfcller", QStringLiteral("M\uFFFDller")},
        {R"(A\ud83dB)", QStringLiteral("A\uFFFDB")},
        {R"(A\\ud83d \ud83d\ude00\udc00)", QString::fromUtf8("A\\ud83d 😀\uFFFD")}};
    for (const auto &[written, expected] : texts) {
        const QByteArray body = begin + written + R"("]}}])";
        ScriptedService service([body](const ReceivedRequest &request) {
            return ScriptedHttpServer::answer(
                200, "application/dicom+json", request.target.contains("offset=0") ? body : QByteArray("[]"));
        });

        const QList<QVariantMap> found = QrnQidoAPI(service.client).getAll({}, {});

        ASSERT_EQ(found.size(), 2) << written.constData();
        EXPECT_EQ(QrnTagParser::getStringTag(found[1], QrnDicomTag::PatientID), expected);
    }
    ScriptedService marked([](const ReceivedRequest &request) {
        return ScriptedHttpServer::answer(
            200, "application/dicom+json", request.target.contains("offset=0") ? "\xef\xbb\xbf[]" : "[]");
    });
    EXPECT_TRUE(QrnQidoAPI(marked.client).getAll({}, {}).isEmpty()) << "a mark of the byte order";
}

TEST(QidoQuery, FailsForAnAnswerThatIsNoList)
{
    for (const QByteArray &body : {QByteArray("{}"), QByteArray("<html/>"), QByteArray()}) {
        ScriptedService service([body](const ReceivedRequest &) {
            return ScriptedHttpServer::answer(200, "application/dicom+json", body);
        });

        EXPECT_TRUE(errorOf<AFError>([&service] { QrnQidoAPI(service.client).getAll({}); }))
            << body.constData();
    }
}

TEST(QidoQuery, AsksForTheSeriesOfOneStudy)
{
    ScriptedService service([](const ReceivedRequest &) {
        return ScriptedHttpServer::answer(
            200, "application/dicom+json", R"([{"0020000E":{"vr":"UI","Value":["1.2.9"]}}])");
    });

    const QList<QVariantMap> found = QrnQidoAPI(service.client).getSeries(QStringLiteral("1.2.3"));

    EXPECT_EQ(found.size(), 1);
    EXPECT_TRUE(
        service.server.requests().first().target.startsWith("/dicom-web/studies/1.2.3/series?limit=100"));
}

TEST(CloudDelete, DeletesAStudyAndASeries)
{
    for (const int status : {200, 202, 204}) {
        ScriptedService service(
            [status](const ReceivedRequest &) { return ScriptedHttpServer::answer(status); });
        QrnDeleteAPI api(service.client);

        api.deleteStudy(QStringLiteral("1.2.3"), kDevice);
        api.deleteSeries(QStringLiteral("1.2.3"), QStringLiteral("4.5"), kDevice);

        EXPECT_TRUE(service.server.requests().at(0).is("DELETE", "/dicom-web/studies/1.2.3"));
        EXPECT_TRUE(service.server.requests().at(1).is("DELETE", "/dicom-web/studies/1.2.3/series/4.5"));
        EXPECT_EQ(service.server.requests().at(0).headers.value("x-quorin-device"), "DEVICE-1");
    }
}

TEST(CloudDelete, TakesAnAnswerInWhateverForm)
{
    ScriptedService service([](const ReceivedRequest &) { return ScriptedHttpServer::answer(204); });

    QrnDeleteAPI(service.client).deleteSeries(QStringLiteral("1.2.3"), QStringLiteral("4.5"), kDevice);

    EXPECT_EQ(service.server.requests().first().headers.value("accept"), "*/*")
        << "an archive may refuse another form before it looks at what is asked";
}

TEST(CloudDelete, TakesNoWebPageAndNoOtherStatusForADeletion)
{
    const std::pair<int, const char *> answers[] = {
        {200, "text/html"}, {202, "text/html; charset=utf-8"}, {200, "application/xhtml+xml"}, {205, ""}};
    for (const auto &[status, type] : answers) {
        ScriptedService service([answered = status, form = type](const ReceivedRequest &) {
            return ScriptedHttpServer::answer(answered, form, answered == 205 ? "" : "<html>Sign in</html>");
        });

        const auto error = errorOf<AFError>(
            [&service] { QrnDeleteAPI(service.client).deleteStudy(QStringLiteral("1.2.3"), kDevice); });

        EXPECT_TRUE(error) << status << ' ' << type;
    }
}

TEST(CloudDelete, TellsThatAnArchiveDoesNotOfferIt)
{
    for (const int status : {405, 501}) {
        ScriptedService service(
            [status](const ReceivedRequest &) { return ScriptedHttpServer::answer(status); });

        const auto error = errorOf<AFError>(
            [&service] { QrnDeleteAPI(service.client).deleteStudy(QStringLiteral("1.2.3"), kDevice); });

        ASSERT_TRUE(error);
        EXPECT_TRUE(error->localizedDescription.contains(QStringLiteral("does not offer this")));
    }
}

TEST(CloudDelete, FailsWhenThereWasNothingToDelete)
{
    ScriptedService service([](const ReceivedRequest &) { return ScriptedHttpServer::answer(404); });

    const auto error = errorOf<AFError>(
        [&service] { QrnDeleteAPI(service.client).deleteStudy(QStringLiteral("1.2.3"), kDevice); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->responseCode, 404);
}

TEST(CloudDelete, SendsNothingForAnIdentifierThatWouldDeleteMoreThanItNames)
{
    ScriptedService service([](const ReceivedRequest &) { return ScriptedHttpServer::answer(204); });
    QrnDeleteAPI api(service.client);

    for (const char *uid : {"", ".", ".."}) {
        const QString text = QString::fromLatin1(uid);
        EXPECT_TRUE(errorOf<AFError>([&] { api.deleteStudy(text, kDevice); })) << uid;
        EXPECT_TRUE(errorOf<AFError>([&] { api.deleteSeries(QStringLiteral("1.2.3"), text, kDevice); }))
            << uid;
    }
    EXPECT_TRUE(service.server.requests().isEmpty());

    api.deleteStudy(QStringLiteral("1/../2?x#y"), kDevice);
    EXPECT_EQ(service.server.requests().first().target, "/dicom-web/studies/1%2F..%2F2%3Fx%23y");
}

} // namespace gateway::cloud_client::testing
