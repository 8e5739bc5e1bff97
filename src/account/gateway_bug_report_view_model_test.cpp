#include "account/gateway_bug_report_view_model.h"

#include "account/testing/account_world.h"
#include "cloud_client/qrn_bug_report_api.h"
#include "core/device_id.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/testing/gate.h"

#include <QtCore/QFile>

#include <atomic>

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
        last = request;
        lastAttached.clear();
        for (const QUrl &url : request.attachments) {
            QFile file(url.toLocalFile());
            lastAttached.append(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
        }
        lastProgress = progress;
        for (const auto &report : reports) {
            progress(report);
        }
        ++m_arrived;
        m_gate.pass();
        if (failure) {
            throw cloud_client::AFError(*failure, std::nullopt);
        }
    }

    void hold(bool isHeld) { m_gate.hold(isHeld); }

    int arrived() const { return m_arrived; }

    QList<cloud_client::UploadProgress> reports;
    std::optional<QString> failure;
    std::optional<cloud_client::QrnBugReportRequest> last;
    QList<QByteArray> lastAttached; ///< what the files held
    cloud_client::UploadProgressCallback lastProgress;

private:
    platform::testing::Gate m_gate;
    std::atomic<int> m_arrived = 0;
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

/// A report whose support bundles are made when the test says so.
struct GatewayBugReportWithBundle : GatewayBugReport
{
    QCoro::Task<QString> collect()
    {
        const QString number = QString::number(++collected);
        co_await platform::asyncSleep(main, clock, std::chrono::seconds(1), stop.get_token());
        co_return QStringLiteral("bundle ") + number;
    }

    GatewayBugReportForm form(bool includesBundle) const
    {
        return {.descriptionText = QStringLiteral("It broke."), .includesSupportBundle = includesBundle};
    }

    void collectNow()
    {
        runUntil([this] {
            clock.advance(std::chrono::seconds(1));
            return !reporting.isCollecting();
        });
    }

    int collected = 0;
    std::stop_source stop;
    GatewayBugReportViewModel reporting{{api, defaults, main, pool, [this] { return collect(); }}};
};

TEST_F(GatewayBugReportWithBundle, MakesNoneUnasked)
{
    reporting.setForm(form(false));

    finish(reporting.send());

    EXPECT_EQ(collected, 0);
    EXPECT_TRUE(api.last->attachments.isEmpty());
}

TEST_F(GatewayBugReportWithBundle, SendsTheVeryTextThatCanBeRead)
{
    reporting.setForm(form(true));
    EXPECT_TRUE(reporting.isCollecting());
    EXPECT_TRUE(reporting.isSubmitDisabled());
    collectNow();
    EXPECT_FALSE(reporting.isSubmitDisabled());
    EXPECT_EQ(reporting.supportBundle(), QStringLiteral("bundle 1"));

    finish(reporting.send());

    ASSERT_EQ(api.lastAttached, QList<QByteArray>{"bundle 1"});
    EXPECT_EQ(api.last->attachments.first().fileName(), QStringLiteral("support-bundle.txt"));
    EXPECT_FALSE(QFile::exists(api.last->attachments.first().toLocalFile()));
}

TEST_F(GatewayBugReportWithBundle, SendsItBesideTheFiles)
{
    GatewayBugReportForm both = form(true);
    both.happenedDuringImport = true;
    both.attachments = kFiles;
    reporting.setForm(both);
    collectNow();

    finish(reporting.send());

    ASSERT_EQ(api.last->attachments.size(), 2);
    EXPECT_EQ(api.last->attachments.first(), kFiles.first());
    EXPECT_EQ(reporting.form().attachments, kFiles);
}

TEST_F(GatewayBugReportWithBundle, DropsOneThatIsNotWantedAnyMore)
{
    reporting.setForm(form(true));
    reporting.setForm(form(false));
    reporting.setForm(form(true));
    collectNow();

    EXPECT_EQ(reporting.supportBundle(), QStringLiteral("bundle 2"));
    reporting.setForm(form(false));
    EXPECT_FALSE(reporting.supportBundle());
    finish(reporting.send());
    EXPECT_TRUE(api.last->attachments.isEmpty());
}

TEST_F(GatewayBugReportWithBundle, SavesTheVeryTextThatCanBeRead)
{
    const QString path = folder.filePath(QStringLiteral("saved.txt"));
    reporting.setForm(form(true));
    collectNow();

    EXPECT_EQ(resultOf(reporting.saveSupportBundle(path)), std::nullopt);
    EXPECT_TRUE(resultOf(reporting.saveSupportBundle(path + QStringLiteral("/below-a-file"))).has_value());

    QFile saved(path);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(), "bundle 1");
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
