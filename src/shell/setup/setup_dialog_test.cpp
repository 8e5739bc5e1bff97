#include "shell/setup/setup_dialog.h"

#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/testing/manual_clock.h"
#include "platform/concurrency/worker_pool.h"
#include "shell/controls/button.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/switch.h"
#include "shell/controls/text_field.h"
#include "shell/testing/screen_checks.h"
#include "shell/theme/theme.h"
#include "wizard/setup_checks.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace gateway::shell {
namespace {

class Setup : public ::testing::Test
{
protected:
    Setup()
    {
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
        stored.aeTitle = QStringLiteral("GATE");
        stored.portText = QStringLiteral("1115");
        stored.autoDeleteMode = core::GatewayAutoDeleteMode::days;
        stored.autoDeleteValueText = QStringLiteral("30");
        dialog = std::make_unique<SetupDialog>(
            SetupDialogParts{theme,
                             main,
                             pool,
                             [this] { return stored; },
                             [this](wizard::GatewaySetupDraft draft) { return apply(std::move(draft)); },
                             autostart,
                             [this] { ++finished; },
                             [this] { ++quits; }});
    }

    /// An apply that takes two seconds of the clock.
    QCoro::Task<std::optional<QString>> apply(wizard::GatewaySetupDraft draft)
    {
        applied.push_back(std::move(draft));
        co_await platform::asyncSleep(main, clock, std::chrono::seconds(2), std::stop_token());
        co_return problem;
    }

    /// Presses the button and waits for what it does.
    void confirm(const QString &title)
    {
        button(title)->click();
        clock.waitForSleepers(1);
        clock.advance(std::chrono::seconds(2));
        while (button(title)->isBusy()) {
            QCoreApplication::processEvents();
        }
    }

    Button *button(const QString &title)
    {
        for (Button *button : dialog->findChildren<Button *>()) {
            if (button->text() == title) {
                return button;
            }
        }
        return nullptr;
    }

    bool isSeen(const QString &title) { return button(title) != nullptr && button(title)->isVisible(); }

    bool says(const QString &text)
    {
        for (const QLabel *label : dialog->findChildren<QLabel *>()) {
            if (label->isVisible() && label->text().contains(text)) {
                return true;
            }
        }
        return false;
    }

    /// Lets layouts that follow from each other find their end.
    static void settle()
    {
        for (int turn = 0; turn < 4; ++turn) {
            QCoreApplication::processEvents();
        }
    }

    static void type(TextField &field, const QString &text)
    {
        field.selectAll();
        QTest::keyClicks(&field, text);
    }

    TextField &aeTitle() { return *dialog->findChildren<TextField *>().at(0); }
    TextField &port() { return *dialog->findChildren<TextField *>().at(1); }

    Switch &startsWithTheSession() { return *dialog->findChild<Switch *>(); }

    Theme theme;
    QTemporaryDir config;
    platform::Autostart autostart{
        config.path(),
        {QStringLiteral("gateway"), QStringLiteral("Gateway"), {QStringLiteral("/bin/gateway")}}};
    platform::MainExecutor main;
    platform::WorkerPool pool{QStringLiteral("test"), 1};
    platform::testing::ManualClock clock;
    wizard::GatewaySetupDraft stored;
    std::vector<wizard::GatewaySetupDraft> applied;
    std::optional<QString> problem;
    int finished = 0;
    int quits = 0;
    std::unique_ptr<SetupDialog> dialog;
};

TEST_F(Setup, BeginsWithTheSettingsAsTheyStand)
{
    dialog->present(true);

    EXPECT_EQ(aeTitle().text(), QStringLiteral("GATE"));
    EXPECT_EQ(port().text(), QStringLiteral("1115"));
}

TEST_F(Setup, AppliesWhatWasTypedAndKeepsTheRest)
{
    dialog->present(true);
    type(aeTitle(), QStringLiteral("NORTH"));
    type(port(), QStringLiteral("11112"));

    confirm(QStringLiteral("Finish Setup"));

    ASSERT_EQ(applied.size(), 1U);
    EXPECT_EQ(applied[0].aeTitle, QStringLiteral("NORTH"));
    EXPECT_EQ(applied[0].portText, QStringLiteral("11112"));
    EXPECT_EQ(applied[0].autoDeleteMode, core::GatewayAutoDeleteMode::days);
    EXPECT_EQ(applied[0].autoDeleteValueText, QStringLiteral("30"));
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(finished, 1);
}

TEST_F(Setup, CannotBeLeftBeforeItIsFinished)
{
    dialog->present(true);

    dialog->close();
    EXPECT_TRUE(dialog->isVisible());
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_FALSE(isSeen(QStringLiteral("Cancel")));

    button(QStringLiteral("Quit Quorin Gateway"))->click();
    EXPECT_EQ(quits, 1);
}

TEST_F(Setup, AnswersPreferencesAndCanBeLeftThen)
{
    dialog->present(false);
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Preferences"));
    EXPECT_FALSE(isSeen(QStringLiteral("Quit Quorin Gateway")));
    type(port(), QStringLiteral("1"));

    button(QStringLiteral("Cancel"))->click();
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_TRUE(applied.empty());

    dialog->present(false);
    EXPECT_EQ(port().text(), QStringLiteral("1115"));
    confirm(QStringLiteral("Apply"));
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(finished, 0); // nobody waits for the dashboard
}

TEST_F(Setup, TellsAMistakeBesideItsFieldAndAppliesNothing)
{
    dialog->present(true);
    type(port(), QStringLiteral("70000"));
    type(aeTitle(), QStringLiteral(" "));

    button(QStringLiteral("Finish Setup"))->click();

    EXPECT_TRUE(applied.empty());
    EXPECT_TRUE(aeTitle().isInvalid());
    EXPECT_TRUE(port().isInvalid());
    EXPECT_TRUE(says(*wizard::portFormatIssue(QStringLiteral("70000"))));

    type(port(), QStringLiteral("104"));
    EXPECT_FALSE(port().isInvalid());
}

TEST_F(Setup, StaysAndTellsWhatStoodInTheWay)
{
    problem = QStringLiteral("Port 1115 is already in use by another process.");
    dialog->present(true);
    const int height = dialog->height();

    confirm(QStringLiteral("Finish Setup"));
    settle();

    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(says(*problem));
    EXPECT_GT(dialog->height(), height);
    EXPECT_EQ(testing::clippedIn(*dialog), QStringList());
    EXPECT_EQ(finished, 0);
    EXPECT_TRUE(port().isEnabled());

    problem.reset();
    confirm(QStringLiteral("Finish Setup"));
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(finished, 1);
}

TEST_F(Setup, AppliesOnceHoweverOftenItIsAsked)
{
    dialog->present(true);
    button(QStringLiteral("Finish Setup"))->click();

    QTest::keyClick(&port(), Qt::Key_Return);
    button(QStringLiteral("Finish Setup"))->click();

    EXPECT_EQ(applied.size(), 1U);
    clock.waitForSleepers(1);
    clock.advance(std::chrono::seconds(2));
    while (finished == 0) {
        QCoreApplication::processEvents();
    }
}

TEST_F(Setup, KeepsWhatIsTypedWhenItIsCalledForAgain)
{
    dialog->present(true);
    type(aeTitle(), QStringLiteral("NORTH"));

    dialog->present(true);

    EXPECT_EQ(aeTitle().text(), QStringLiteral("NORTH"));
}

TEST_F(Setup, CutsNoWordAlsoAboutMistakes)
{
    testing::PseudoLocale locale;
    for (const bool isLengthened : {false, true}) {
        for (const bool isBlocking : {true, false}) {
            if (isLengthened) {
                QCoreApplication::installTranslator(&locale);
            }
            SetupDialog other({theme,
                               main,
                               pool,
                               [this] { return stored; },
                               [this](wizard::GatewaySetupDraft draft) { return apply(std::move(draft)); },
                               autostart,
                               [] {},
                               [] {}});
            other.present(isBlocking);
            settle();
            EXPECT_EQ(testing::clippedIn(other), QStringList());

            for (TextField *field : other.findChildren<TextField *>()) {
                type(*field, QStringLiteral("#"));
                QTest::keyClick(field, Qt::Key_Return);
            }
            settle();
            EXPECT_EQ(testing::clippedIn(other), QStringList());
            EXPECT_TRUE(applied.empty());
            QCoreApplication::removeTranslator(&locale);
        }
    }
}

TEST_F(Setup, StartsWithTheSessionOnlyOnRequest)
{
    dialog->present(true);
    EXPECT_FALSE(startsWithTheSession().isChecked());
    confirm(QStringLiteral("Finish Setup"));
    EXPECT_FALSE(autostart.isEnabled());

    dialog->present(false);
    startsWithTheSession().click();
    EXPECT_FALSE(autostart.isEnabled()); // not before it is applied
    confirm(QStringLiteral("Apply"));
    EXPECT_TRUE(autostart.isEnabled());

    dialog->present(false);
    EXPECT_TRUE(startsWithTheSession().isChecked());
    startsWithTheSession().click();
    confirm(QStringLiteral("Apply"));
    EXPECT_FALSE(autostart.isEnabled());
}

TEST_F(Setup, SaysWhenTheStartWithTheSessionCannotBeChanged)
{
    QFile blocked(config.filePath(QStringLiteral("autostart"))); // a file stands where the folder should
    ASSERT_TRUE(blocked.open(QIODevice::WriteOnly));
    dialog->present(false);
    startsWithTheSession().click();

    confirm(QStringLiteral("Apply"));

    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(says(QStringLiteral("The start with the session can't be changed")));
}

} // namespace
} // namespace gateway::shell
