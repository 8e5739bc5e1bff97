#include "shell/report/bug_report_window.h"

#include "account/testing/account_world.h"
#include "cloud_client/qrn_bug_report_api.h"
#include "shell/controls/button.h"
#include "shell/controls/inline_error.h"
#include "shell/testing/screen_checks.h"
#include "shell/theme/theme.h"

#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QPlainTextEdit>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

/// A service that takes reports, or not. Thread: any; its fields while no report is under way.
class FakeBugReports final : public cloud_client::QrnBugReportAPIProtocol
{
public:
    void send(const cloud_client::QrnBugReportRequest &request,
              const cloud_client::UploadProgressCallback & /*progress*/) override
    {
        if (failure) {
            throw cloud_client::AFError(*failure, std::nullopt);
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
        window = std::make_unique<BugReportWindow>(
            BugReportWindowParts{theme, model, main, pool, [this] { ++sent; }});
        window->present();
    }

    Button &submit()
    {
        for (Button *button : window->findChildren<Button *>()) {
            if (button->text() == QStringLiteral("Submit")) {
                return *button;
            }
        }
        qFatal("there is no such button");
    }

    QPlainTextEdit &description() { return *window->findChild<QPlainTextEdit *>(); }
    QCheckBox &reproducible() { return *window->findChild<QCheckBox *>(); }

    void send()
    {
        submit().click();
        runUntil([this] { return !model.isSending(); });
    }

    Theme theme;
    FakeBugReports api;
    account::GatewayBugReportViewModel model{{api, defaults, main, pool}};
    int sent = 0;
    std::unique_ptr<BugReportWindow> window;
};

TEST_F(BugReport, NeedsADescriptionOfMoreThanWhiteSpace)
{
    EXPECT_FALSE(submit().isEnabled());
    QTest::keyClicks(&description(), QStringLiteral("  "));
    EXPECT_FALSE(submit().isEnabled());

    QTest::keyClicks(&description(), QStringLiteral("It stops."));

    EXPECT_TRUE(submit().isEnabled());
}

TEST_F(BugReport, SendsWhatWasTypedAndClosesAndBeginsAnew)
{
    QTest::keyClicks(&description(), QStringLiteral(" It stops. "));
    reproducible().setChecked(true);

    send();

    ASSERT_TRUE(api.last);
    EXPECT_EQ(api.last->description, QStringLiteral("It stops."));
    EXPECT_TRUE(api.last->isReproducible);
    EXPECT_EQ(sent, 1);
    EXPECT_FALSE(window->isVisible());
    EXPECT_TRUE(description().toPlainText().isEmpty());
    EXPECT_FALSE(reproducible().isChecked());
}

TEST_F(BugReport, KeepsWhatWasTypedWhenItFails)
{
    api.failure = QStringLiteral("Nobody answers.");
    QTest::keyClicks(&description(), QStringLiteral("It stops."));

    send();

    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->findChild<InlineError *>()->accessibleWords().contains(*api.failure));
    EXPECT_EQ(description().toPlainText(), QStringLiteral("It stops."));
    EXPECT_EQ(sent, 0);

    api.failure.reset();
    send();
    EXPECT_EQ(sent, 1);
}

TEST_F(BugReport, CutsNoWord)
{
    testing::PseudoLocale locale;
    QCoreApplication::installTranslator(&locale);
    BugReportWindow other({theme, model, main, pool, [] {}});
    other.present();
    QCoreApplication::processEvents();

    EXPECT_EQ(testing::clippedIn(other), QStringList());
    QCoreApplication::removeTranslator(&locale);
}

} // namespace
} // namespace gateway::shell
