#include "tests/cloud_client/local_cloud.h"

#include "account/gateway_account_settings_view_model.h"
#include "account/gateway_bug_report_view_model.h"
#include "account/gateway_change_password_view_model.h"
#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/quorin_auth_view_model.h"
#include "account/quorin_cloud_status_view_model.h"
#include "account/quorin_cloud_storage_limit_view_model.h"
#include "cloud_client/qrn_authentication_api.h"
#include "cloud_client/qrn_bug_report_api.h"
#include "cloud_client/qrn_quorin_cloud_terms_api.h"
#include "cloud_client/qrn_status_api.h"
#include "cloud_client/qrn_stow_api.h"
#include "cloud_client/qrn_user_api.h"
#include "cloud_client/testing/client_fixture.h"
#include "core/device_id.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "platform/notifications/notification_center.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>

#include <cmath>

#include <gtest/gtest.h>

/// The models of an account over the real client, against the real local cloud.
namespace gateway::tests {

namespace {

using cloud_client::CloudKind;
using cloud_client::QrnErrorKind;
using cloud_client::QrnErrorResponse;
using cloud_client::testing::configurationFor;
using cloud_client::testing::errorOf;

const QString kEmail = QString::fromLatin1(LocalCloud::kEmail);
const QString kPassword = QString::fromLatin1(LocalCloud::kPassword);

/// An account's models, joined as in the gateway.
struct Account
{
    explicit Account(const QUrl &url, CloudKind kind = CloudKind::quorin)
        : client(configurationFor(url, kind), store, clock)
    {
    }

    QTemporaryDir folder;
    platform::UserDefaults defaults{folder.filePath(QStringLiteral("defaults.sqlite"))};
    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 3};
    platform::SystemClock clock;
    platform::NotificationCenter notifications;
    cloud_client::testing::MemoryTokenStore store;
    cloud_client::QuorinApiClient client;
    cloud_client::QrnAuthenticationAPI authenticationApi{client};
    cloud_client::QrnUserAPI userApi{client};
    cloud_client::QrnStatusAPI statusApi{client};
    cloud_client::QrnQuorinCloudTermsAPI termsApi{client};
    cloud_client::QrnBugReportAPI reportApi{client};
    account::QuorinAuthViewModel auth{
        {authenticationApi, userApi, client.networkSettings(), defaults, notifications, main, pool, clock},
        QStringLiteral("3.1.0")};
    account::GatewayQuorinCloudTermsCoordinator terms{{termsApi, defaults, main, pool, clock},
                                                      account::TermsSigner::from(QStringLiteral("desk"),
                                                                                 QStringLiteral("Linux 12"),
                                                                                 QStringLiteral("3.1.0"))};
    account::QuorinCloudStatusViewModel status{{statusApi, main, pool, clock}};
    account::QuorinCloudStorageLimitViewModel storage{{userApi, client.networkSettings(), main, pool, clock}};
    account::GatewayAccountSettingsViewModel profile{{userApi, auth, main, pool}};
    account::GatewayChangePasswordViewModel password{{userApi, main, pool}};
    account::GatewayBugReportViewModel report{{reportApi, defaults, main, pool}};
};

/// Runs the main thread until `task` is done.
template <typename Task>
void finish(const Task &task)
{
    while (!task.isReady()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

bool resultOf(QCoro::Task<bool> task)
{
    bool result = false;
    finish(task.then([&result](bool value) { result = value; }));
    return result;
}

struct AccountClient : ::testing::Test
{
    bool signIn(const QString &password = kPassword) { return resultOf(user.auth.signIn(kEmail, password)); }

    std::optional<QrnErrorResponse> upload(const QByteArray &instance, qsizetype pixelBytes = 4000)
    {
        const QUrl image = writeImage(files, "1.2.10", "1.2.10.1", instance, pixelBytes);
        return errorOf<QrnErrorResponse>([&] {
            cloud_client::QrnStowAPI(user.client)
                .upload(user.client.session(),
                        cloud_client::testing::identified(image),
                        core::deviceId(user.defaults),
                        {});
        });
    }

    LocalCloud cloud;
    Account user{cloud.url()};
    cloud_client::testing::SampleFiles files;
};

} // namespace

TEST_F(AccountClient, SeesWhetherTheCloudAnswers)
{
    finish(user.status.refresh());
    EXPECT_TRUE(user.status.isOnline());

    cloud.control(
        "faults",
        {{QStringLiteral("path"), QStringLiteral("/api/v1/ping")}, {QStringLiteral("status"), 503}});
    finish(user.status.refresh());

    EXPECT_FALSE(user.status.isOnline());
    EXPECT_TRUE(user.status.lastError()->startsWith(QStringLiteral("AFError 503: ")));
}

TEST_F(AccountClient, UploadsOnceTheTermsThatItWasShownAreAccepted)
{
    ASSERT_TRUE(signIn());
    cloud.control("terms",
                  {{QStringLiteral("version"), QStringLiteral("7")},
                   {QStringLiteral("text"), QStringLiteral("Be kind.")}});
    const auto refusal = upload("1.2.10.1.1");
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->kind, QrnErrorKind::termsNotAccepted);

    finish(user.terms.refreshStatus());
    ASSERT_TRUE(user.terms.showTerms());
    EXPECT_EQ(user.terms.termsVersion(), QStringLiteral("7"));
    EXPECT_EQ(user.terms.termsText(), QStringLiteral("Be kind."));
    EXPECT_FALSE(user.terms.reasonMessage());
    ASSERT_TRUE(resultOf(user.terms.accept()));

    EXPECT_FALSE(upload("1.2.10.1.1"));
    const QJsonArray answers = cloud.look("terms/answers").array();
    ASSERT_EQ(answers.size(), 1);
    const QJsonObject request = answers[0][u"request"].toObject();
    EXPECT_EQ(answers[0][u"answer"].toString(), QStringLiteral("accepted"));
    EXPECT_EQ(request.value(u"version").toString(), QStringLiteral("7"));
    EXPECT_EQ(request.value(u"deviceUid").toString(), core::deviceId(user.defaults));
    EXPECT_EQ(request.value(u"deviceName").toString(), QStringLiteral("desk"));
    EXPECT_EQ(request.value(u"quorinVersion").toString(), QStringLiteral("3.1.0"));
}

TEST_F(AccountClient, LearnsOfNewTermsAndDeclinesThem)
{
    ASSERT_TRUE(signIn());
    cloud.control("terms", {{QStringLiteral("version"), QStringLiteral("7")}});
    finish(user.terms.refreshStatus());
    ASSERT_TRUE(resultOf(user.terms.accept()));
    cloud.control("terms", {{QStringLiteral("version"), QStringLiteral("8")}});

    finish(user.terms.refreshStatus());
    EXPECT_EQ(user.terms.reasonMessage(),
              QStringLiteral(
                  "The Terms & Conditions were updated. Please accept the updated version to continue."));
    EXPECT_TRUE(resultOf(user.terms.decline()));

    EXPECT_FALSE(user.terms.showTerms());
    EXPECT_EQ(upload("1.2.10.1.1")->kind, QrnErrorKind::termsNotAccepted);
}

TEST_F(AccountClient, IsToldWhenTheTermsChangedUnderItsAnswer)
{
    ASSERT_TRUE(signIn());
    cloud.control("terms", {{QStringLiteral("version"), QStringLiteral("7")}});
    finish(user.terms.refreshStatus());
    cloud.control("terms", {{QStringLiteral("version"), QStringLiteral("8")}});

    EXPECT_FALSE(resultOf(user.terms.accept()));

    EXPECT_TRUE(user.terms.showTerms());
    EXPECT_EQ(user.terms.errorMessage(),
              QStringLiteral("These terms are not the current ones. Please reload."));
}

TEST_F(AccountClient, SeesItsRoomInTheCloudFillUpUntilNothingMoreIsTaken)
{
    ASSERT_TRUE(signIn());
    cloud.control("allowance", {{QStringLiteral("allowanceKb"), 100}});
    finish(user.storage.refresh());
    EXPECT_EQ(user.storage.storageUsage(), (account::StorageUsage{100.0, 0.0}));

    EXPECT_FALSE(upload("1.2.10.1.1", 60'000));
    const qint64 bytes = QFileInfo(files.path(QStringLiteral("1.2.10.1.1.dcm"))).size();
    finish(user.storage.refresh());
    EXPECT_EQ(user.storage.storageUsage(),
              (account::StorageUsage{100.0, std::ceil(static_cast<double>(bytes) / 1024.0)}));
    const auto refusal = upload("1.2.10.1.2", 60'000);

    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->kind, QrnErrorKind::storageUsedUp);
}

TEST_F(AccountClient, ChangesItsProfileAndLeavesTheRestOfTheRecordAlone)
{
    ASSERT_TRUE(signIn());
    cloud_client::ApiCall stranger =
        cloud_client::jsonCall("PUT",
                               "/user",
                               {{QStringLiteral("theme"), QJsonObject{{QStringLiteral("dark"), true}}},
                                {QStringLiteral("middleName"), QStringLiteral("B.")}});
    user.client.request(stranger);
    finish(user.profile.load(false));

    account::GatewayAccountForm form = user.profile.form();
    EXPECT_EQ(form.middleName, QStringLiteral("B."));
    form.firstName = QStringLiteral(" Ann ");
    form.middleName = QStringLiteral(" ");
    form.workplace = QStringLiteral("East Clinic");
    user.profile.setForm(form);
    finish(user.profile.save());

    EXPECT_EQ(user.profile.successMessage(), QStringLiteral("Account updated successfully."));
    EXPECT_EQ(user.auth.signedInLabel(), QStringLiteral("East Clinic"));
    cloud_client::ApiCall read;
    read.path = "/user";
    const QVariantMap record = user.client.requestObject(read);
    EXPECT_EQ(record.value(QStringLiteral("firstName")).toString(), QStringLiteral("Ann"));
    EXPECT_EQ(record.value(QStringLiteral("middleName")).typeId(), QMetaType::Nullptr);
    EXPECT_EQ(record.value(QStringLiteral("theme")).toMap().value(QStringLiteral("dark")), true);
    EXPECT_EQ(record.value(QStringLiteral("email")).toString(), kEmail);
}

TEST_F(AccountClient, ChangesItsPasswordAndSignsInWithTheNewOneOnly)
{
    ASSERT_TRUE(signIn());
    const QString next = QStringLiteral(" even better ");
    user.password.setForm({QStringLiteral("wrong"), next, next});
    EXPECT_FALSE(resultOf(user.password.changePassword()));
    EXPECT_EQ(user.password.errorMessage(), QStringLiteral("Current password is incorrect."));

    user.password.setForm({kPassword, next, next});
    EXPECT_TRUE(resultOf(user.password.changePassword()));
    finish(user.auth.signOut());

    EXPECT_FALSE(signIn(kPassword));
    EXPECT_TRUE(signIn(next));
}

TEST_F(AccountClient, SaysThatTheSessionExpiredWhenThePasswordIsChangedTooLate)
{
    ASSERT_TRUE(signIn());
    cloud.control("tokens/expire", {});

    user.password.setForm({kPassword, QStringLiteral("next"), QStringLiteral("next")});

    EXPECT_FALSE(resultOf(user.password.changePassword()));
    EXPECT_EQ(user.password.errorMessage(),
              QStringLiteral("Your session has expired. Please sign in again."));
}

TEST_F(AccountClient, SendsABugReportWithAnAttachmentOfSomeMegabytesAndTellsHowFarItIs)
{
    constexpr qsizetype kBytes = 6'000'000;
    ASSERT_TRUE(signIn());
    const QUrl file = files.file(QStringLiteral("scan of \"x\".dcm"), QByteArray(kBytes, 'x'));
    user.report.setForm({QStringLiteral(" It broke. "), true, true, false, {file}});
    QStringList texts;
    QObject::connect(&user.report, &account::GatewayBugReportViewModel::changed, &user.report, [&] {
        if (texts.isEmpty() || texts.last() != user.report.progressText()) {
            texts.append(user.report.progressText());
        }
    });

    finish(user.report.send());

    ASSERT_FALSE(user.report.errorMessage()) << user.report.errorMessage()->toStdString();
    EXPECT_TRUE(user.report.didSendSuccessfully());
    EXPECT_EQ(texts.first(), QStringLiteral("Sending..."));
    EXPECT_EQ(texts.last(), QStringLiteral("Sending files 100%"));
    EXPECT_GT(texts.size(), 3);
    const QJsonObject kept = cloud.look("bug-reports").array().at(0).toObject();
    EXPECT_EQ(kept.value(u"description").toString(), QStringLiteral("It broke."));
    EXPECT_TRUE(kept.value(u"isReproducible").toBool());
    EXPECT_EQ(kept.value(u"attachments").toArray().at(0)[u"bytes"].toInteger(), kBytes);
}

TEST_F(AccountClient, KeepsAReportWhoseFileHasGone)
{
    ASSERT_TRUE(signIn());
    user.report.setForm({QStringLiteral("It broke."),
                         false,
                         false,
                         true,
                         {QUrl::fromLocalFile(files.path(QStringLiteral("gone.dcm")))}});

    finish(user.report.send());

    EXPECT_EQ(user.report.errorMessage(), QStringLiteral("The file \"gone.dcm\" can't be read."));
    EXPECT_FALSE(user.report.isSubmitDisabled());
    EXPECT_TRUE(cloud.look("bug-reports").array().isEmpty());
}

TEST(PlainArchiveAccount, IsToldInPlainSentencesWhatAnArchiveDoesNotOffer)
{
    LocalCloud cloud;
    QUrl root = cloud.url();
    root.setPath(QStringLiteral("/dicom-web"));
    Account user(root, CloudKind::dicomweb);
    ASSERT_TRUE(resultOf(user.auth.signIn(kEmail, kPassword)));

    finish(user.terms.refreshStatus());
    EXPECT_FALSE(user.terms.showTerms());
    EXPECT_FALSE(user.terms.errorMessage());
    finish(user.storage.refresh());
    EXPECT_FALSE(user.storage.storageUsage());
    EXPECT_EQ(user.storage.lastError(), QStringLiteral("This archive keeps no accounts."));
    finish(user.profile.load(false));
    EXPECT_EQ(user.profile.email(), kEmail);
    finish(user.profile.save());
    EXPECT_EQ(user.profile.errorMessage(), QStringLiteral("This archive keeps no accounts."));
    user.password.setForm({kPassword, QStringLiteral("next"), QStringLiteral("next")});
    EXPECT_FALSE(resultOf(user.password.changePassword()));
    EXPECT_EQ(user.password.errorMessage(), QStringLiteral("This archive keeps no accounts."));
    user.report.setForm({QStringLiteral("It broke."), false, false, false, {}});
    finish(user.report.send());
    EXPECT_EQ(user.report.errorMessage(), QStringLiteral("This archive takes no bug reports."));
    finish(user.status.refresh());
    EXPECT_TRUE(user.status.isOnline());
}

} // namespace gateway::tests
