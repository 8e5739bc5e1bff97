#include "upload/upload_opener.h"

#include "account/testing/fake_status_api.h"
#include "account/testing/session_world.h"
#include "core/notification_names.h"

namespace gateway::upload {

namespace {

class RecordingRequests final : public UploadRequests
{
public:
    void requestUpload(const QString &reason, UploadUrgency urgency) override
    {
        all.emplace_back(reason, urgency);
    }

    std::vector<std::pair<QString, UploadUrgency>> all;
};

struct UploadOpenerTest : account::testing::SessionWorld
{
    UploadOpenerTest()
    {
        terms.isAccepted = true;
        service.limit = {1000.0F, 10.0F};
    }

    void look() { finish(watch.look()); }

    void settle()
    {
        runUntil([this] {
            return !watch.status().isChecking() && !watch.storage().isLoading() && !watch.terms().isLoading();
        });
    }

    QStringList reasons() const
    {
        QStringList all;
        for (const auto &[reason, urgency] : requests) {
            all.append(reason);
        }
        return all;
    }

    RecordingRequests recorded;
    std::vector<std::pair<QString, UploadUrgency>> &requests = recorded.all;
    account::testing::FakeStatusAPI status;
    account::CloudWatch watch{
        {status, service, terms, settings, defaults, notifications, main, pool, clock, auth}};
    UploadOpener opener{{defaults, notifications, auth, watch, recorded}};
};

} // namespace

TEST_F(UploadOpenerTest, LetsEverythingBeTriedWhenSomebodySignsIn)
{
    signIn();
    settle();

    EXPECT_EQ(reasons(), QStringList{QStringLiteral("auth_state_changed")});
    EXPECT_EQ(requests.front().second, UploadUrgency::everythingNow);
}

TEST_F(UploadOpenerTest, AsksOnceMoreWhenTheSessionHasGone)
{
    signIn();
    settle();
    requests.clear();

    settings.setToken(std::nullopt);
    finish(auth.refresh(true));
    finish(auth.refresh(true));
    settle();

    EXPECT_EQ(reasons(), QStringList{QStringLiteral("auth_state_changed")});
    EXPECT_EQ(requests.front().second, UploadUrgency::whenOpen);
}

TEST_F(UploadOpenerTest, TakesALaterLookAtTheSessionForNoSignIn)
{
    signIn();
    settle();
    requests.clear();

    finish(auth.refresh(true));
    settle();

    EXPECT_EQ(reasons(), QStringList());
}

TEST_F(UploadOpenerTest, OpensWhenTheCloudIsBackAndNotWhileItStays)
{
    look();
    look();
    EXPECT_EQ(reasons(), QStringList());

    status.isAway = true;
    look();
    status.isAway = false;
    look();

    EXPECT_EQ(reasons(), QStringList{QStringLiteral("cloud_back")});
    EXPECT_EQ(requests.front().second, UploadUrgency::unlessAskedToWait);
}

TEST_F(UploadOpenerTest, OpensWhenTermsWereAccepted)
{
    terms.isAccepted = false;
    signIn();
    settle();
    requests.clear();

    terms.isAccepted = true;
    watch.checkTerms();
    settle();

    EXPECT_EQ(reasons(), QStringList{QStringLiteral("terms_accepted")});
}

TEST_F(UploadOpenerTest, LetsEverythingBeTriedOnceForAnotherProgramOrAnotherCloud)
{
    opener.launched(QStringLiteral("1.0 https://one.example"));
    opener.launched(QStringLiteral("1.0 https://one.example"));
    EXPECT_EQ(reasons(), QStringList{QStringLiteral("another_sender")});

    opener.launched(QStringLiteral("1.0 https://other.example"));
    opener.launched(QStringLiteral("1.1 https://other.example"));

    EXPECT_EQ(requests.size(), 3U);
    EXPECT_EQ(requests.back().second, UploadUrgency::everythingNow);
}

} // namespace gateway::upload
