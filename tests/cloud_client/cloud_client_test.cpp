#include "tests/cloud_client/local_cloud.h"

#include "cloud_client/qrn_authentication_api.h"
#include "cloud_client/qrn_bug_report_api.h"
#include "cloud_client/qrn_delete_api.h"
#include "cloud_client/qrn_qido_api.h"
#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "cloud_client/qrn_status_api.h"
#include "cloud_client/qrn_stow_api.h"
#include "cloud_client/qrn_tag_parser.h"
#include "cloud_client/qrn_user_api.h"
#include "cloud_client/qrn_versions_api.h"
#include "cloud_client/quorin_error.h"
#include "cloud_client/testing/client_fixture.h"
#include "platform/dicom/testing/identities.h"

#include <QtCore/QJsonArray>

#include <gtest/gtest.h>

/// The client against the real local cloud, a process of its own.
namespace gateway::tests {

namespace {

using cloud_client::AFError;
using cloud_client::CloudConfiguration;
using cloud_client::QrnAuthenticationAPI;
using cloud_client::QrnBugReportAPI;
using cloud_client::QrnBugReportRequest;
using cloud_client::QrnDeleteAPI;
using cloud_client::QrnDicomTag;
using cloud_client::QrnErrorKind;
using cloud_client::QrnErrorResponse;
using cloud_client::QrnLoginRequest;
using cloud_client::QrnQidoAPI;
using cloud_client::QrnQuorinCloudTermsAPI;
using cloud_client::QrnStatusAPI;
using cloud_client::QrnStowAPI;
using cloud_client::QrnStowResponse;
using cloud_client::QrnTagParser;
using cloud_client::QrnUserAPI;
using cloud_client::QrnUserDeviceRequest;
using cloud_client::QrnVersionsAPI;
using cloud_client::QuorinApiClient;
using cloud_client::QuorinError;
using cloud_client::testing::configurationFor;
using cloud_client::testing::errorOf;
using cloud_client::testing::identified;
using cloud_client::testing::MemoryTokenStore;
using cloud_client::testing::SampleFiles;
using cloud_client::testing::stillClock;

const QString kDevice = QStringLiteral("DEVICE-1");
const QString kStudy = QStringLiteral("1.2.10");

struct CloudClient : ::testing::Test
{
    CloudClient() { acceptTerms(); }

    QrnLoginRequest loginRequest(const char *password = LocalCloud::kPassword) const
    {
        return {QString::fromLatin1(LocalCloud::kEmail),
                QString::fromLatin1(password),
                std::nullopt,
                QStringLiteral("macOS"),
                kDevice,
                std::nullopt,
                QrnUserDeviceRequest(std::nullopt, kDevice, QStringLiteral("1.0.0"))};
    }

    void acceptTerms()
    {
        QrnAuthenticationAPI(client).login(loginRequest());
        QrnQuorinCloudTermsAPI terms(client);
        if (const auto status = terms.status(); status.required) {
            terms.accept({status.requiredVersion,
                          QDateTime::currentDateTimeUtc(),
                          kDevice,
                          QStringLiteral("desk"),
                          QStringLiteral("os"),
                          QStringLiteral("1")});
        }
    }

    QList<QUrl> images(int count)
    {
        QList<QUrl> urls;
        for (int number = 1; number <= count; ++number) {
            urls.append(writeImage(files, "1.2.10", "1.2.10.1", "1.2.10.1." + QByteArray::number(number)));
        }
        return urls;
    }

    qint64 storedImages()
    {
        const QList<QVariantMap> studies = QrnQidoAPI(client).getAll({});
        return studies.isEmpty()
                   ? 0
                   : QrnTagParser::getIntTag(studies.first(), QrnDicomTag::NumberOfStudyRelatedInstances)
                         .value_or(-1);
    }

    LocalCloud cloud;
    MemoryTokenStore store;
    QuorinApiClient client{configurationFor(cloud.url()), store, stillClock()};
    SampleFiles files;
};

} // namespace

TEST_F(CloudClient, SignsInLooksAroundAndSignsOut)
{
    QrnStatusAPI(client).ping();
    QrnUserAPI user(client);
    user.tokenExpiration();
    EXPECT_EQ(user.getUser().email, QString::fromLatin1(LocalCloud::kEmail));
    EXPECT_GT(user.quorinCloudStorageLimit().allowanceKb, 0.0F);
    EXPECT_FALSE(QrnVersionsAPI(client).checkVersions().critical);

    QrnAuthenticationAPI(client).logout();

    EXPECT_FALSE(client.networkSettings().token());
    EXPECT_TRUE(errorOf<QuorinError>([&user] { user.getUser(); }));
}

TEST_F(CloudClient, IsRefusedWithAWrongPassword)
{
    const auto error =
        errorOf<QrnErrorResponse>([this] { QrnAuthenticationAPI(client).login(loginRequest("wrong")); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::credentialsRefused);
    EXPECT_TRUE(client.networkSettings().token()); // the older session
}

TEST_F(CloudClient, LearnsThatItsSessionHasEnded)
{
    cloud.control("tokens/expire", {});

    const auto error = errorOf<QrnErrorResponse>([this] { QrnUserAPI(client).tokenExpiration(); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::sessionInvalid);
}

TEST_F(CloudClient, UploadsOneImageAndABatchAndFindsThem)
{
    const QList<QUrl> urls = images(5);

    QrnStowAPI(client).upload(client.session(), identified(urls.first()), kDevice, {});
    QrnStowAPI(client).upload(client.session(), identified(urls.mid(1)), kDevice, {});

    const QList<QVariantMap> studies = QrnQidoAPI(client).getAll({});
    ASSERT_EQ(studies.size(), 1);
    EXPECT_EQ(QrnTagParser::getStringTag(studies.first(), QrnDicomTag::StudyInstanceUID), kStudy);
    EXPECT_EQ(QrnTagParser::getStringTag(studies.first(), QrnDicomTag::PatientName),
              QStringLiteral("Doe^Jane"));
    EXPECT_EQ(QrnTagParser::getStringTag(studies.first(), QrnDicomTag::ModalitiesInStudy),
              QStringLiteral("CT"));
    EXPECT_EQ(storedImages(), 5);
    const QList<QVariantMap> series = QrnQidoAPI(client).getSeries(kStudy);
    ASSERT_EQ(series.size(), 1);
    EXPECT_EQ(QrnTagParser::getIntTag(series.first(), QrnDicomTag::NumberOfSeriesRelatedInstances), 5);
    EXPECT_EQ(QrnTagParser::getIntTag(series.first(), QrnDicomTag::SeriesNumber), 3);
}

TEST_F(CloudClient, SendsTheSameImageTwiceWithoutHarm)
{
    const QList<QUrl> urls = images(2);
    QrnStowAPI(client).upload(client.session(), identified(urls), kDevice, {});

    QrnStowAPI(client).upload(client.session(), identified(urls), kDevice, {});

    EXPECT_EQ(storedImages(), 2);
}

TEST_F(CloudClient, SendsAgainWhatWasStoredBeforeTheConnectionWasCut)
{
    const QList<QUrl> urls = images(1);
    cloud.control("faults",
                  {{QStringLiteral("path"), QStringLiteral("/dicom-web/studies")},
                   {QStringLiteral("method"), QStringLiteral("POST")},
                   {QStringLiteral("count"), 2}, // the client tries a kept connection that died once more
                   {QStringLiteral("cutBeforeAnswer"), true}});

    const auto error = errorOf<AFError>(
        [&] { QrnStowAPI(client).upload(client.session(), identified(urls.first()), kDevice, {}); });
    ASSERT_TRUE(error);
    EXPECT_FALSE(error->responseCode);
    cloud.control("faults/clear", {});
    QrnStowAPI(client).upload(client.session(), identified(urls.first()), kDevice, {});

    EXPECT_EQ(storedImages(), 1);
}

TEST_F(CloudClient, NamesTheImageThatTheCloudRefuses)
{
    const QList<QUrl> urls = images(3);
    cloud.control("refuse-instances",
                  {{QStringLiteral("sopInstanceUIDs"), QJsonArray{QStringLiteral("1.2.10.1.2")}},
                   {QStringLiteral("failureReason"), 0xA700}});

    const auto refusal = errorOf<QrnStowResponse>(
        [&] { QrnStowAPI(client).upload(client.session(), identified(urls), kDevice, {}); });

    ASSERT_TRUE(refusal);
    EXPECT_FALSE(refusal->names(urls[0], platform::testing::instanceUid("1.2.10.1.1")));
    EXPECT_TRUE(refusal->names(urls[1], platform::testing::instanceUid("1.2.10.1.2")));
    EXPECT_FALSE(refusal->names(urls[2], platform::testing::instanceUid("1.2.10.1.3")));
    EXPECT_EQ(storedImages(), 2);
}

TEST_F(CloudClient, AsksTheCloudWhereAPageStandsInForTheAnswer)
{
    const QList<QUrl> urls = images(2);
    QrnStowAPI(client).upload(client.session(), identified(urls.first()), kDevice, {});
    cloud.control("faults",
                  {{QStringLiteral("path"), QStringLiteral("/dicom-web/studies")},
                   {QStringLiteral("method"), QStringLiteral("POST")},
                   {QStringLiteral("count"), 1},
                   {QStringLiteral("status"), 200},
                   {QStringLiteral("contentType"), QStringLiteral("text/html")},
                   {QStringLiteral("body"), QStringLiteral("<html>Please log in</html>")}});

    const auto refusal = errorOf<QrnStowResponse>(
        [&] { QrnStowAPI(client).upload(client.session(), identified(urls), kDevice, {}); });

    ASSERT_TRUE(refusal);
    EXPECT_FALSE(
        refusal->names(urls[0], platform::testing::instanceUid("1.2.10.1.1"))); // stored before, and found
    EXPECT_TRUE(refusal->names(urls[1], platform::testing::instanceUid("1.2.10.1.2")));
}

TEST_F(CloudClient, SplitsABatchThatIsLargerThanTheCloudTakes)
{
    QList<QUrl> urls;
    for (int number = 1; number <= 5; ++number) {
        urls.append(
            writeImage(files, "1.2.10", "1.2.10.1", "1.2.10.1." + QByteArray::number(number), 300'000));
    }
    cloud.control("limits", {{QStringLiteral("maxBodyBytes"), 700'000}});

    QrnStowAPI(client).upload(client.session(), identified(urls), kDevice, {});

    EXPECT_EQ(storedImages(), 5);
}

TEST_F(CloudClient, MayNotUploadBeforeNewTermsAreAccepted)
{
    cloud.control("terms",
                  {{QStringLiteral("version"), QStringLiteral("99")},
                   {QStringLiteral("text"), QStringLiteral("New.")}});

    const auto error = errorOf<QrnErrorResponse>(
        [this] { QrnStowAPI(client).upload(client.session(), identified(images(1).first()), kDevice, {}); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, QrnErrorKind::termsNotAccepted);
    EXPECT_EQ(QrnQuorinCloudTermsAPI(client).terms().version, QStringLiteral("99"));
    acceptTerms();
    QrnStowAPI(client).upload(client.session(), identified(images(1).first()), kDevice, {});
    EXPECT_EQ(storedImages(), 1);
}

TEST_F(CloudClient, DeletesASeriesAndAStudy)
{
    writeImage(files, "1.2.10", "1.2.10.2", "1.2.10.2.1");
    QrnStowAPI(client).upload(client.session(),
                              identified(images(1) + QList<QUrl>{QUrl::fromLocalFile(
                                                         files.path(QStringLiteral("1.2.10.2.1.dcm")))}),
                              kDevice,
                              {});
    QrnDeleteAPI api(client);

    api.deleteSeries(kStudy, QStringLiteral("1.2.10.2"), kDevice);
    EXPECT_EQ(storedImages(), 1);
    api.deleteStudy(kStudy, kDevice);
    EXPECT_EQ(storedImages(), 0);

    const auto error = errorOf<QuorinError>([&api] { api.deleteStudy(kStudy, kDevice); });
    EXPECT_TRUE(error);
}

TEST_F(CloudClient, SendsABugReportWithAFile)
{
    QrnBugReportRequest report;
    report.description = QStringLiteral("It broke.");
    report.deviceId = kDevice;
    report.attachments = images(1);

    EXPECT_FALSE(errorOf<QuorinError>([&] { QrnBugReportAPI(client).send(report, {}); }));
}

TEST(CloudClientTls, TrustsAPrivateAuthorityThatItWasGivenAndNoOther)
{
    const PrivateAuthority authority;
    const LocalCloud cloud(authority.serverFiles());
    MemoryTokenStore store;
    CloudConfiguration configuration = configurationFor(cloud.url());
    ASSERT_EQ(configuration.baseUrl.scheme(), QStringLiteral("https"));
    QuorinApiClient stranger(configuration, store, stillClock());
    configuration.certificateFile = authority.certificateFile();
    QuorinApiClient friendly(configuration, store, stillClock());
    configuration.certificateFile = QStringLiteral("/nowhere/ca.pem");
    QuorinApiClient mistaken(configuration, store, stillClock());

    EXPECT_FALSE(errorOf<QuorinError>([&friendly] { QrnStatusAPI(friendly).ping(); }));
    EXPECT_EQ(
        errorOf<AFError>([&stranger] { QrnStatusAPI(stranger).ping(); })->localizedDescription,
        QStringLiteral("The certificate of the cloud service at 127.0.0.1 could not be verified. Where an "
                       "authority of your own has signed it, name its PEM file in the setting "
                       "QuorinAPI.CertificateFile."));
    EXPECT_EQ(
        errorOf<AFError>([&mistaken] { QrnStatusAPI(mistaken).ping(); })->localizedDescription,
        QStringLiteral("The file of certificates for 127.0.0.1, which the setting QuorinAPI.CertificateFile "
                       "or QUORIN_CLOUD_CA names, could not be read."));
}

TEST(CloudClientTls, TrustsNoCertificateMadeForAnotherHost)
{
    const PrivateAuthority authority;
    const LocalCloud cloud(authority.serverFiles());
    MemoryTokenStore store;
    QUrl other = cloud.url();
    other.setHost(QStringLiteral("localhost"));
    CloudConfiguration configuration = configurationFor(other);
    configuration.certificateFile = authority.certificateFile();
    QuorinApiClient client(configuration, store, stillClock());

    const auto error = errorOf<AFError>([&client] { QrnStatusAPI(client).ping(); });

    ASSERT_TRUE(error);
    EXPECT_EQ(error->noAnswer, cloud_client::NoAnswer::notSecure);
    EXPECT_EQ(
        error->localizedDescription,
        QStringLiteral("The certificate of the cloud service at localhost could not be verified. Where an "
                       "authority of your own has signed it, name its PEM file in the setting "
                       "QuorinAPI.CertificateFile."));
}

} // namespace gateway::tests
