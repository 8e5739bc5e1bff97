#include "account/gateway_bug_report_view_model.h"

#include "account/testing/account_world.h"
#include "cloud_client/qrn_bug_report_api.h"
#include "core/device_id.h"

namespace gateway::account::testing {

namespace {

/// A service that takes reports, tells of the progress that it is told to, and can be made to fail or to
/// wait. Thread: any.
class FakeBugReports final : public cloud_client::QrnBugReportAPIProtocol
{
public:
    void send(const cloud_client::QrnBugReportRequest &request,
              const cloud_client::UploadProgressCallback &progress) override
    {
        const platform::MutexLock lock(m_mutex);
        last = request;
        lastProgress = progress;
        for (const auto &report : reports) {
            progress(report);
        }
        ++m_arrived;
        while (m_isHeld) {
            m_changed.wait(m_mutex);
        }
        if (failure) {
            throw cloud_client::AFError(*failure, std::nullopt);
        }
    }

    void hold(bool isHeld)
    {
        const platform::MutexLock lock(m_mutex);
        m_isHeld = isHeld;
        m_changed.notifyAll();
    }

    int arrived() const
    {
        const platform::MutexLock lock(m_mutex);
        return m_arrived;
    }

    QList<cloud_client::UploadProgress> reports;
    std::optional<QString> failure;
    std::optional<cloud_client::QrnBugReportRequest> last;
    cloud_client::UploadProgressCallback lastProgress;

private:
    mutable platform::Mutex m_mutex;
    platform::Condition m_changed;
    bool m_isHeld QUORIN_GUARDED_BY(m_mutex) = false;
    int m_arrived QUORIN_GUARDED_BY(m_mutex) = 0;
};

const QList<QUrl> kFiles{QUrl::fromLocalFile(QStringLiteral("/tmp/a.dcm"))};

struct GatewayBugReport : AccountWorld
{
    ~GatewayBugReport() override { api.hold(false); }

    void describe(const QString &text) { model.setForm({text, false, false, false, {}}); }
    void send() { finish(model.send()); }

    FakeBugReports api;
    GatewayBugReportViewModel model{{api, defaults, main, pool}};
};

} // namespace

TEST_F(GatewayBugReport, KeepsSubmitDisabledForADescriptionOfWhiteSpaceOnly)
{
    describe(QStringLiteral(" \n\t"));
    EXPECT_TRUE(model.isSubmitDisabled());
    send();
    EXPECT_EQ(api.arrived(), 0);

    describe(QStringLiteral(" It broke. "));

    EXPECT_FALSE(model.isSubmitDisabled());
}

TEST_F(GatewayBugReport, WantsAFileForAProblemWithImportingOrOpening)
{
    const QString text = QStringLiteral("It broke.");
    model.setForm({text, false, true, false, {}});
    EXPECT_TRUE(model.isSubmitDisabled());
    model.setForm({text, false, false, true, {}});
    EXPECT_TRUE(model.isSubmitDisabled());

    model.setForm({text, false, true, false, kFiles});
    EXPECT_FALSE(model.isSubmitDisabled());
    describe(text);
    EXPECT_FALSE(model.isSubmitDisabled());
}

TEST_F(GatewayBugReport, SendsWhatWasToldWithTheFiles)
{
    model.setForm({.descriptionText = QStringLiteral(" It broke.\n"),
                   .isReproducible = true,
                   .happenedDuringOpening = true,
                   .attachments = kFiles});

    send();

    EXPECT_TRUE(model.didSendSuccessfully());
    EXPECT_FALSE(model.isSending());
    EXPECT_FALSE(model.errorMessage());
    ASSERT_TRUE(api.last);
    EXPECT_TRUE(api.last->isReproducible);
    EXPECT_FALSE(api.last->happenedDuringImport);
    EXPECT_TRUE(api.last->happenedDuringOpening);
    EXPECT_EQ(api.last->description, QStringLiteral("It broke."));
    EXPECT_EQ(api.last->attachments, kFiles);
    EXPECT_EQ(api.last->deviceId, core::deviceId(defaults));
}

TEST_F(GatewayBugReport, LeavesFilesBehindOnceBothBoxesAreCleared)
{
    model.setForm({QStringLiteral("It broke."), false, false, false, kFiles});

    send();

    EXPECT_TRUE(api.last->attachments.isEmpty());
    EXPECT_EQ(model.form().attachments, kFiles);
}

TEST_F(GatewayBugReport, IsDisabledWhileItSends)
{
    describe(QStringLiteral("It broke."));
    api.hold(true);
    const auto sending = model.send();
    EXPECT_TRUE(model.isSending());
    EXPECT_TRUE(model.isSubmitDisabled());
    EXPECT_EQ(model.progressText(), QStringLiteral("Sending..."));

    send();
    api.hold(false);
    finish(sending);

    EXPECT_EQ(api.arrived(), 1);
}

TEST_F(GatewayBugReport, ShowsAFractionOf0123AsTwelvePercent)
{
    describe(QStringLiteral("It broke."));
    api.reports = {{123, 1000}};
    api.hold(true);
    const auto sending = model.send();
    runUntil([this] { return model.progressText() != QStringLiteral("Sending..."); });

    EXPECT_EQ(model.progressText(), QStringLiteral("Sending files 12%"));
    EXPECT_TRUE(model.isSending());
    api.hold(false);
    finish(sending);
}

TEST_F(GatewayBugReport, KeepsAllInputWhenSendingFails)
{
    model.setForm({.descriptionText = QStringLiteral("It broke."),
                   .happenedDuringImport = true,
                   .attachments = kFiles});
    api.failure = QStringLiteral("The file \"a.dcm\" can't be read.");

    send();

    EXPECT_EQ(model.errorMessage(), api.failure);
    EXPECT_FALSE(model.didSendSuccessfully());
    EXPECT_FALSE(model.isSubmitDisabled());
    EXPECT_EQ(model.form().descriptionText, QStringLiteral("It broke."));
    EXPECT_EQ(model.form().attachments, kFiles);
    model.clearErrorMessage();
    EXPECT_FALSE(model.errorMessage());
}

TEST_F(GatewayBugReport, ForgetsAnEarlierEndWhenItSendsAgain)
{
    describe(QStringLiteral("It broke."));
    send();
    api.failure = QStringLiteral("Out of order.");

    send();

    EXPECT_FALSE(model.didSendSuccessfully());
    EXPECT_EQ(model.errorMessage(), QStringLiteral("Out of order."));
}

TEST_F(GatewayBugReport, IgnoresProgressThatIsToldAfterItsDeath)
{
    {
        GatewayBugReportViewModel brief({api, defaults, main, pool});
        brief.setForm({QStringLiteral("It broke."), false, false, false, {}});
        finish(brief.send());
    }

    api.lastProgress({1, 2});
    main.drain();

    EXPECT_EQ(api.arrived(), 1);
}

} // namespace gateway::account::testing
