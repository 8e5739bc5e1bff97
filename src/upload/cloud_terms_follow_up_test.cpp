#include "upload/cloud_terms_follow_up.h"

#include "cloud_client/quorin_error.h"
#include "core/notification_names.h"
#include "log/writing/redaction.h"
#include "log/writing/testing/recording_log.h"
#include "platform/concurrency/testing/manual_clock.h"

#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <stdexcept>
#include <thread>
#include <vector>

namespace gateway::upload {

using namespace std::chrono_literals;

namespace {

/// A cloud that knows nothing but whether its terms were accepted. Thread: any.
class FakeTermsAPI final : public cloud_client::QrnQuorinCloudTermsAPIProtocol
{
public:
    std::atomic<bool> required = true;
    std::atomic<bool> isDown = false;
    std::atomic<int> statusRequests = 0;

    cloud_client::QrnQuorinCloudTermsStatusResponse status() override
    {
        ++statusRequests;
        if (isDown) {
            throw cloud_client::AFError(QString(), std::nullopt);
        }
        return {required, QStringLiteral("2026-03"), std::nullopt};
    }
    cloud_client::QrnQuorinCloudTermsResponse terms() override { return {}; }
    cloud_client::QrnQuorinCloudTermsAcceptResponse
    accept(const cloud_client::QrnQuorinCloudTermsAcceptRequest &) override
    {
        required = false;
        return {};
    }
    void decline(const cloud_client::QrnQuorinCloudTermsDeclineRequest &) override {}
};

struct CloudTermsFollowUpTest : ::testing::Test
{
    platform::MainExecutor main;
    platform::testing::ManualClock clock;
    log::testing::RecordingLog log;
    log::StoreLogEmitter emitter{log, clock};
    platform::NotificationCenter notifications;
    FakeTermsAPI api;
    CloudTermsFollowUp followUp{{api, emitter, notifications, main, clock}};
    QStringList posted;
    platform::NotificationCenter::Token openPreferences = notifications.observe(
        core::kOpenPreferences, [this](const QVariantMap &) { posted.append(core::kOpenPreferences); });
    platform::NotificationCenter::Token termsRequired =
        notifications.observe(core::kQuorinCloudTermsRequired, [this](const QVariantMap &) {
            posted.append(core::kQuorinCloudTermsRequired);
        });

    const QUrl file = QUrl::fromLocalFile(QStringLiteral("/store/1"));

    void fail(const std::exception &error)
    {
        followUp.checkTermsAfterUploadFailure(error, QStringLiteral("RUN"), file);
        main.drain();
    }

    void failWithStatus(int status) { fail(cloud_client::AFError(QString(), status)); }
};

} // namespace

TEST_F(CloudTermsFollowUpTest, SendsTheUserToTheTermsWhenTheyAreRequired)
{
    failWithStatus(403);

    EXPECT_EQ(posted, (QStringList{core::kOpenPreferences, core::kQuorinCloudTermsRequired}));
    const auto events = log.events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].level, log::GatewayLogLevel::warning);
    EXPECT_EQ(events[0].category, log::GatewayLogCategory::send);
    EXPECT_EQ(events[0].action, log::GatewayLogAction::uploadAttemptFailed);
    EXPECT_EQ(events[0].outcome, log::GatewayLogOutcome::failed);
    EXPECT_EQ(events[0].correlationId, QStringLiteral("RUN"));
    EXPECT_EQ(events[0].fileHash, log::hashedFileURL(file));
    EXPECT_EQ(events[0].attempt, std::nullopt);
    EXPECT_EQ(events[0].error, std::nullopt);
    const QMap<QString, QString> details = {
        {QStringLiteral("follow_up"), QStringLiteral("quorin_cloud_terms_required")},
        {QStringLiteral("required_version"), QStringLiteral("2026-03")}};
    EXPECT_EQ(events[0].details, details);
}

TEST_F(CloudTermsFollowUpTest, AsksOnceAndPromptsNobodyWhenTheTermsAreAccepted)
{
    api.required = false;

    failWithStatus(403);

    EXPECT_EQ(api.statusRequests, 1);
    EXPECT_TRUE(posted.isEmpty());
    EXPECT_TRUE(log.events().empty());
}

TEST_F(CloudTermsFollowUpTest, AsksAgainAtOnceAfterAnAnswerWithoutAPrompt)
{
    api.required = false;

    failWithStatus(403);
    failWithStatus(403);

    EXPECT_EQ(api.statusRequests, 2);
}

TEST_F(CloudTermsFollowUpTest, AsksNobodyWithinTwentySecondsOfAPromptAndAgainAtExactlyTwenty)
{
    failWithStatus(403);
    clock.advance(20s - 1ns);
    failWithStatus(403);
    EXPECT_EQ(api.statusRequests, 1);

    clock.advance(1ns);
    failWithStatus(403);
    EXPECT_EQ(api.statusRequests, 2);
}

TEST_F(CloudTermsFollowUpTest, AsksAfterEveryAnswerOfTheServiceWhateverItSays)
{
    api.required = false;

    fail(cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::serviceFault, QStringLiteral("on fire")));
    fail(cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::termsNotAccepted, std::nullopt));

    EXPECT_EQ(api.statusRequests, 2);
}

TEST_F(CloudTermsFollowUpTest, AsksForStatusesFromFourHundredToFourNinetyNineOnly)
{
    api.required = false;

    for (const int status : {399, 500, 200}) {
        failWithStatus(status);
    }
    fail(cloud_client::AFError(QString(), std::nullopt));
    fail(cloud_client::QrnStowResponse({}, 0));
    fail(std::runtime_error("terms"));
    EXPECT_EQ(api.statusRequests, 0);

    failWithStatus(400);
    failWithStatus(499);
    EXPECT_EQ(api.statusRequests, 2);
}

TEST_F(CloudTermsFollowUpTest, TriesAgainAtTheNextFailureWhenTheCloudGaveNoStatus)
{
    api.isDown = true;
    failWithStatus(403);
    EXPECT_TRUE(posted.isEmpty());
    api.isDown = false;

    failWithStatus(403);

    EXPECT_EQ(posted.size(), 2);
}

TEST_F(CloudTermsFollowUpTest, AsksOnceForTenUploadsThatFailTogether)
{
    std::barrier together(10);
    {
        std::vector<std::jthread> uploads;
        uploads.reserve(10);
        for (int upload = 0; upload < 10; ++upload) {
            uploads.emplace_back([&] {
                together.arrive_and_wait();
                followUp.checkTermsAfterUploadFailure(
                    cloud_client::AFError(QString(), 403), QStringLiteral("RUN"), file);
            });
        }
    }
    main.drain();

    EXPECT_EQ(api.statusRequests, 1);
    EXPECT_EQ(posted.size(), 2);
}

} // namespace gateway::upload
