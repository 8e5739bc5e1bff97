#include "shell/report/bug_report_window.h"

#include "account/testing/account_world.h"
#include "cloud_client/qrn_bug_report_api.h"
#include "platform/concurrency/async_sleep.h"
#include "shell/controls/button.h"
#include "shell/controls/text_label.h"
#include "shell/language/translations.h"
#include "shell/report/bundle_sheet.h"
#include "shell/report/report_alert.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/shown_widgets.h"
#include "shell/theme/theme.h"

#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QPlainTextEdit>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using testing::pressShown;
using testing::shownButton;
using testing::shownOf;

/// A service that takes reports, or not. Thread: any; its fields while no report is under way.
class FakeBugReports final : public cloud_client::QrnBugReportAPIProtocol
{
public:
    void send(const cloud_client::QrnBugReportRequest &request,
              const cloud_client::UploadProgressCallback & /*progress*/) override
    {
        if (failure) {
            throw cloud_client::QrnErrorResponse(cloud_client::QrnErrorKind::serviceFault, *failure);
        }
        last = request;
    }

    std::optional<QString> failure;
    std::optional<cloud_client::QrnBugReportRequest> last;
};

class BugReport : public account::testing::AccountWorld
{
protected:
    BugReport()
    {
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
        open();
    }

    ~BugReport() override { stop.request_stop(); }

    BugReportWindowParts parts()
    {
        return {.theme = theme,
                .model = model,
                .main = main,
                .pool = pool,
                .ways = ways,
                .dialogs = {.chooseFiles = [this](QWidget *, const auto &chosen) { chosen(chosenFiles); },
                            .chooseBundleFile =
                                [this](QWidget *, const QString &name, const auto &chosen) {
                                    suggestedName = name;
                                    chosen(chosenPlace);
                                }},
                .sent = [this] { ++sent; }};
    }

    void open()
    {
        window = std::make_unique<BugReportWindow>(parts());
        window->present();
    }

    QCoro::Task<QString> collect()
    {
        co_await platform::asyncSleep(main, clock, std::chrono::seconds(1), stop.get_token());
        QString bundle = QStringLiteral("Quorin Gateway support bundle, 2026-01-01T12:00:00Z\n\n== Log ==\n");
        for (int line = 0; line < 60; ++line) {
            bundle += QStringLiteral("2026-01-01T11:59:00Z info receive import_succeeded succeeded "
                                     "file=0123456789abcdef bytes=32768\n");
        }
        co_return bundle;
    }

    Button *button(const char *title) { return shownButton(*window, QString::fromUtf8(title)); }

    void press(const char *title)
    {
        pressShown(*window, QString::fromUtf8(title));
        QApplication::processEvents();
    }

    QPlainTextEdit &description()
    {
        for (QPlainTextEdit *one : window->findChildren<QPlainTextEdit *>()) {
            if (!one->isReadOnly()) {
                return *one;
            }
        }
        qFatal("there is no such field");
    }

    QCheckBox &box(const char *title)
    {
        for (QCheckBox *one : window->findChildren<QCheckBox *>()) {
            if (one->text() == QString::fromUtf8(title)) {
                return *one;
            }
        }
        qFatal("there is no such box");
    }

    bool says(const char *text)
    {
        return shownOf<QLabel>(*window,
                               [&](const QLabel &one) { return one.text() == QString::fromUtf8(text); });
    }

    void describe() { QTest::keyClicks(&description(), QStringLiteral("It stops.")); }

    void send()
    {
        press("Submit");
        runUntil([this] { return !model.isSending(); });
        QApplication::processEvents();
    }

    void collectBundle()
    {
        box("Add a support bundle").setChecked(true);
        runUntil([this] {
            clock.advance(std::chrono::seconds(1));
            return !model.isCollecting();
        });
    }

    void expectWhole(const QString &picture)
    {
        QApplication::processEvents();
        EXPECT_EQ(testing::clippedIn(*window), QStringList());
        testing::keepPicture(*window, picture);
    }

    Theme theme;
    FakeBugReports api;
    BugReportWindowParts::Ways ways;
    QStringList chosenFiles{QStringLiteral("/data/ct/slice-1.dcm"), QStringLiteral("/data/ct/slice-2.dcm")};
    QString chosenPlace;
    QString suggestedName;
    std::stop_source stop;
    account::GatewayBugReportViewModel model{{api, defaults, main, pool, [this] { return collect(); }}};
    int sent = 0;
    std::unique_ptr<BugReportWindow> window;
};

TEST_F(BugReport, NeedsADescriptionOfMoreThanWhiteSpace)
{
    EXPECT_FALSE(button("Submit")->isEnabled());
    QTest::keyClicks(&description(), QStringLiteral("  "));
    EXPECT_FALSE(button("Submit")->isEnabled());

    describe();

    EXPECT_TRUE(button("Submit")->isEnabled());
    expectWhole(QStringLiteral("report"));
}

TEST_F(BugReport, SendsWhatWasTypedSaysSoAndClosesAndBeginsAnew)
{
    describe();
    box("Issue is reproducible").setChecked(true);

    send();

    ASSERT_TRUE(api.last);
    EXPECT_EQ(api.last->description, QStringLiteral("It stops."));
    EXPECT_TRUE(api.last->isReproducible);
    EXPECT_TRUE(api.last->attachments.isEmpty());
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(says("Bug Report Sent"));
    EXPECT_TRUE(says("Report has been sent successfully."));
    expectWhole(QStringLiteral("report-sent"));

    press("OK");
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(sent, 0);
    EXPECT_TRUE(description().toPlainText().isEmpty());
    EXPECT_FALSE(box("Issue is reproducible").isChecked());
}

TEST_F(BugReport, TellsElsewhereThatAReportArrivedWhoseWindowWasClosed)
{
    describe();
    button("Submit")->click();
    window->close();

    runUntil([this] { return sent == 1; });

    EXPECT_TRUE(description().toPlainText().isEmpty());
}

TEST_F(BugReport, KeepsWhatWasTypedWhenItFails)
{
    api.failure = QStringLiteral("Nobody answers.");
    describe();

    send();

    EXPECT_TRUE(says("Failed to Send"));
    EXPECT_TRUE(says("Nobody answers."));
    expectWhole(QStringLiteral("report-failed"));
    press("OK");
    EXPECT_TRUE(window->isVisible());
    EXPECT_FALSE(model.errorMessage());
    EXPECT_EQ(description().toPlainText(), QStringLiteral("It stops."));

    api.failure.reset();
    send();
    EXPECT_TRUE(says("Bug Report Sent"));
}

TEST_F(BugReport, CallsAnErrorWithoutWordsUnknown)
{
    api.failure = QString();
    describe();

    send();

    EXPECT_TRUE(says("Unknown error."));
}

TEST_F(BugReport, WantsFilesForAProblemWithImportingOrOpening)
{
    describe();
    EXPECT_TRUE(says("No files attached."));
    EXPECT_FALSE(says("Attachments are required for import/opening issues."));

    box("Happened during opening").setChecked(true);
    EXPECT_TRUE(says("Attachments are required for import/opening issues."));
    EXPECT_FALSE(button("Submit")->isEnabled());

    press("Choose files");
    press("Choose files"); // the same once more
    EXPECT_EQ(model.form().attachments.size(), 2);
    EXPECT_FALSE(says("No files attached."));
    EXPECT_TRUE(says("slice-1.dcm"));
    expectWhole(QStringLiteral("report-files"));

    press("Remove");
    EXPECT_FALSE(says("slice-1.dcm"));
    send();
    EXPECT_TRUE(api.last->happenedDuringOpening);
    EXPECT_EQ(api.last->attachments, QList<QUrl>{QUrl::fromLocalFile(chosenFiles.at(1))});
}

TEST_F(BugReport, LeavesFilesBehindOnceBothBoxesAreCleared)
{
    describe();
    box("Happened during import").setChecked(true);
    press("Choose files");
    box("Happened during import").setChecked(false);

    send();

    EXPECT_TRUE(api.last->attachments.isEmpty());
}

TEST_F(BugReport, ShowsTheSupportBundleToTheLetterBeforeItGoes)
{
    describe();
    EXPECT_FALSE(box("Add a support bundle").isChecked());
    EXPECT_FALSE(button("Read It")->isEnabled());
    EXPECT_FALSE(button("Save…")->isEnabled());

    box("Add a support bundle").setChecked(true);
    EXPECT_TRUE(says("Being put together…"));
    EXPECT_FALSE(button("Submit")->isEnabled());
    collectBundle();
    EXPECT_TRUE(button("Submit")->isEnabled());

    press("Read It");
    auto *sheet = window->findChild<BundleSheet *>();
    EXPECT_EQ(sheet->findChild<QPlainTextEdit *>()->toPlainText(), *model.supportBundle());
    EXPECT_TRUE(sheet->findChild<QPlainTextEdit *>()->isReadOnly());
    expectWhole(QStringLiteral("report-bundle"));
    QTest::keyClick(sheet, Qt::Key_Escape);
    EXPECT_TRUE(sheet->isHidden());
    EXPECT_TRUE(window->isVisible());

    send();
    EXPECT_EQ(api.last->attachments.size(), 1);
}

TEST_F(BugReport, SavesTheSupportBundle)
{
    chosenPlace = folder.filePath(QStringLiteral("bundle.txt"));
    collectBundle();

    press("Save…");
    runUntil([this] { return QFile::exists(chosenPlace); });
    runUntil([this] { return says(("Saved to " + chosenPlace.toUtf8()).constData()); });

    EXPECT_EQ(suggestedName, QStringLiteral("quorin-gateway-support.txt"));
    QFile saved(chosenPlace);
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(saved.readAll()), *model.supportBundle());
}

TEST_F(BugReport, WritesToSupportWhereTheCloudTakesNoReports)
{
    QString written;
    ways = {.isServiceThere = false, .writeToSupport = [&](const QString &text) { written = text; }};
    open();
    EXPECT_EQ(button("Submit"), nullptr);
    EXPECT_FALSE(button("Email Support")->isEnabled());

    describe();
    press("Email Support");

    EXPECT_EQ(written, QStringLiteral("It stops."));
    EXPECT_FALSE(api.last);
}

TEST_F(BugReport, OnlySavesWhereNobodyIsThereToSendTo)
{
    ways = {.isServiceThere = false};
    open();
    collectBundle();

    EXPECT_EQ(button("Submit"), nullptr);
    EXPECT_EQ(button("Email Support"), nullptr);
    EXPECT_TRUE(button("Save…")->isEnabled());
    expectWhole(QStringLiteral("report-save-only"));
}

TEST_F(BugReport, CutsNoWordInEveryLook)
{
    EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("report"),
                                          {{660, 800}, {520, 480}},
                                          [this] {
                                              open();
                                              return testing::Opened{*window, theme};
                                          }),
              "");
}

TEST_F(BugReport, ShowsWhatComesOverItWholeInEveryLook)
{
    const QString bundle =
        QStringLiteral("2026-01-01T11:59:00Z info receive import_succeeded\n").repeated(60);
    EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("bundle"),
                                          {{660, 800}, {520, 480}},
                                          [&] {
                                              open();
                                              window->findChild<BundleSheet *>()->present(bundle);
                                              return testing::Opened{*window, theme};
                                          }),
              "");
    EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("report-alert"),
                                          {{660, 800}, {520, 480}},
                                          [&] {
                                              open();
                                              window->findChild<ReportAlert *>()->tell(
                                                  QStringLiteral("Failed to Send"),
                                                  QStringLiteral("Nobody answers."));
                                              return testing::Opened{*window, theme};
                                          }),
              "");
}

TEST_F(BugReport, CutsNoWordInOtherLanguages)
{
    {
        testing::PseudoLocale locale;
        QCoreApplication::installTranslator(&locale);
        open();
        box("Add a support bundleåßéñåßéñ").setChecked(true);
        expectWhole(QStringLiteral("report-wordy"));
        QCoreApplication::removeTranslator(&locale);
    }
    const Translations german{QLocale(QLocale::German)};
    open();
    expectWhole(QStringLiteral("report-german"));
}

} // namespace
} // namespace gateway::shell
