#include "shell/wizard/testing/wizard_screen_world.h"

#include "core/retention_policy.h"

#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtWidgets/QDialog>

namespace gateway::shell {
namespace {

class WizardWindow : public testing::WizardScreenWorld
{
};

TEST_F(WizardWindow, FollowsTheScreenWithinItsBounds)
{
    EXPECT_EQ(wizardSize({1920, 1080}), QSize(1040, 700));
    EXPECT_EQ(wizardSize({1000, 720}), QSize(920, 620));
    EXPECT_EQ(wizardSize({640, 480}), QSize(720, 520));
}

TEST_F(WizardWindow, HasOneSize)
{
    QWidget &window = open();

    EXPECT_EQ(window.windowTitle(), u"Quorin Gateway Setup"_qs);
    EXPECT_EQ(window.minimumSize(), window.maximumSize());
    EXPECT_EQ(window.size(), wizardSize(QGuiApplication::primaryScreen()->availableGeometry().size()));
}

TEST_F(WizardWindow, CannotBeLeftBeforeItIsFinished)
{
    QWidget &window = open(true);
    EXPECT_FALSE(window.windowFlags().testFlag(Qt::WindowCloseButtonHint));
    EXPECT_FALSE(window.windowFlags().testFlag(Qt::WindowMinimizeButtonHint));

    window.close();
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(button(u"Close"_qs), nullptr);

    press(u"Quit"_qs);
    EXPECT_EQ(quits, 1);
}

TEST_F(WizardWindow, CanBeClosedWhenSetupIsDone)
{
    open(false);
    EXPECT_TRUE(window().windowFlags().testFlag(Qt::WindowCloseButtonHint));
    EXPECT_EQ(button(u"Quit"_qs), nullptr);

    press(u"Close"_qs);
    EXPECT_EQ(controller->window(), nullptr);

    open(false);
    QTest::keyClick(&window(), Qt::Key_Escape);
    EXPECT_EQ(controller->window(), nullptr);
    EXPECT_EQ(completed, 0);
}

TEST_F(WizardWindow, IsRaisedInItsFormAndMadeAnewInTheOther)
{
    const QWidget *first = &open(true);
    press(u"Continue"_qs);
    type(u"AE Title"_qs, u"NORTH"_qs);

    EXPECT_EQ(&open(true), first);
    EXPECT_EQ(field(u"AE Title"_qs)->text(), u"NORTH"_qs);

    EXPECT_NE(&open(false), first);
    EXPECT_FALSE(controller->isBlockingPresentation());
    EXPECT_EQ(heading(), u"Welcome"_qs);
}

TEST_F(WizardWindow, ComesBackBehindTheDialogThatItWaitsFor)
{
    open(true);
    QDialog dialog(&window());
    dialog.open();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog, 30'000));

    open(true);

    EXPECT_EQ(QApplication::activeWindow(), &dialog);
}

TEST_F(WizardWindow, TakesItsDialogsWithIt)
{
    open(true);
    const QPointer<QDialog> dialog = new QDialog(&window());
    dialog->open();

    appSettings.gatewaySetupVersion.set(1);
    appSettings.gatewaySetupCompleted.set(true);
    settleOrEnd();

    EXPECT_EQ(controller->window(), nullptr);
    EXPECT_TRUE(dialog.isNull());
}

TEST_F(WizardWindow, BeginsAnewWithTheSettingsAsTheyStand)
{
    open(false);
    press(u"Continue"_qs);
    type(u"AE Title"_qs, u"NORTH"_qs);
    press(u"Close"_qs);

    open(false);
    EXPECT_EQ(heading(), u"Welcome"_qs);
    press(u"Continue"_qs);
    EXPECT_EQ(field(u"AE Title"_qs)->text(), u"GATE"_qs);
}

TEST_F(WizardWindow, GoesFromTheFirstStepToARunningListener)
{
    open(true);
    EXPECT_TRUE(says(u"Step 1 of 5"_qs));
    press(u"Continue"_qs);
    type(u"AE Title"_qs, u"NORTH"_qs);
    type(u"Port"_qs, u"104"_qs);
    settle();
    QTest::keyClick(field(u"Port"_qs), Qt::Key_Return);
    settle();
    EXPECT_EQ(heading(), u"Local Files"_qs);
    goTo(u"Summary"_qs);
    EXPECT_TRUE(says(u"Step 5 of 5"_qs));
    EXPECT_TRUE(says(u"Ready to Apply"_qs));

    finishSetup();

    EXPECT_EQ(completed, 1);
    EXPECT_EQ(offers, 1);
    EXPECT_EQ(controller->window(), nullptr);
    EXPECT_FALSE(controller->isBlockingPresentation());
    EXPECT_TRUE(listener.isRunning);
    EXPECT_EQ(record().aeTitle, u"NORTH"_qs);
    EXPECT_EQ(record().port, 104);
    EXPECT_FALSE(core::isSetupRequired(appSettings));
}

TEST_F(WizardWindow, StaysWithTheWordsOfAListenerThatDoesNotStart)
{
    listener.fail(u"DIMSE listener did not start within 2 seconds."_qs);
    open(true);
    goTo(u"Summary"_qs);

    button(u"Finish Setup"_qs)->click();
    runUntil([this] { return says(u"DIMSE listener did not start within 2 seconds."_qs); });
    settle();

    EXPECT_EQ(completed, 0);
    EXPECT_TRUE(says(u"DIMSE listener did not start within 2 seconds."_qs));
    EXPECT_FALSE(button(u"Finish Setup"_qs)->isEnabled());
    EXPECT_NE(button(u"Open DIMSE Listener"_qs), nullptr);
    EXPECT_EQ(testing::clippedIn(window()), QStringList());
}

TEST_F(WizardWindow, CannotBeClosedWhileItApplies)
{
    open(false);
    goTo(u"Summary"_qs);
    button(u"Finish Setup"_qs)->click();
    EXPECT_TRUE(button(u"Finish Setup"_qs)->isBusy());
    EXPECT_FALSE(button(u"Back"_qs)->isEnabled());

    window().close();
    EXPECT_TRUE(window().isVisible());

    runUntil([this] {
        clock.advance(std::chrono::seconds(2));
        return completed == 1;
    });
}

TEST_F(WizardWindow, GoesWhenSetupIsFinishedElsewhere)
{
    open(true);

    appSettings.gatewaySetupVersion.set(1);
    appSettings.gatewaySetupCompleted.set(true);
    settleOrEnd();

    EXPECT_EQ(controller->window(), nullptr);
    EXPECT_EQ(completed, 1);
    EXPECT_EQ(offers, 0); // whoever did it isn't here
}

TEST_F(WizardWindow, StaysWhenSetupIsFinishedElsewhereWhileItIsOpenForAChange)
{
    open(false);

    appSettings.gatewaySetupVersion.set(1);
    appSettings.gatewaySetupCompleted.set(true);
    settle();

    EXPECT_TRUE(window().isVisible());
}

TEST_F(WizardWindow, ShowsWhatWasChangedElsewhereWhenSomebodyTurnsToIt)
{
    open(true);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window(), 30'000));
    core::DCMListenerSettings other = record();
    other.aeTitle = u"SOUTH"_qs;
    other.save(defaults);

    QEvent activation(QEvent::WindowActivate);
    QCoreApplication::sendEvent(&window(), &activation);

    press(u"Continue"_qs);
    EXPECT_EQ(field(u"AE Title"_qs)->text(), u"SOUTH"_qs);
}

TEST_F(WizardWindow, GoesAtOnceWhileASignInIsUnderWay)
{
    open(false);
    goTo(u"Quorin Account"_qs);
    type(u"Email"_qs, u"ann@site.example"_qs);
    type(u"Password"_qs, u"right"_qs);
    service.hold(u"login"_qs);
    button(u"Sign in now"_qs)->click();
    QCoreApplication::processEvents();

    window().close();
    EXPECT_EQ(controller->window(), nullptr);

    service.release();
    runUntil([this] { return !auth.isChecking(); });
    settleOrEnd();
}

TEST_F(WizardWindow, StartsWithTheSessionOnlyOnRequest)
{
    open(true);
    goTo(u"Summary"_qs);
    Switch &startsWithSession = toggle(u"Start when I sign in to this computer"_qs);
    EXPECT_FALSE(startsWithSession.isChecked());
    startsWithSession.click();
    EXPECT_FALSE(autostart.isEnabled()) << "not before it is applied";

    finishSetup();

    EXPECT_TRUE(autostart.isEnabled());
}

TEST_F(WizardWindow, TellsWhenTheStartWithTheSessionCannotBeChanged)
{
    QFile blocked(config.filePath(u"autostart"_qs)); // a file stands where the folder should
    ASSERT_TRUE(blocked.open(QIODevice::WriteOnly));
    open(true);
    goTo(u"Summary"_qs);
    toggle(u"Start when I sign in to this computer"_qs).click();

    finishSetup();

    EXPECT_EQ(completed, 1);
    ASSERT_EQ(problems.size(), 1);
    EXPECT_TRUE(problems[0].startsWith(u"The start with the session can't be changed"_qs));
}

} // namespace
} // namespace gateway::shell
