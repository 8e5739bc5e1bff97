#include "shell/controls/sheet.h"

#include "shell/controls/button.h"
#include "shell/controls/confirm_dialog.h"
#include "shell/controls/text_field.h"
#include "shell/controls/toast.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"
#include "shell/theme/focus_watcher.h"

#include <QtGui/QAccessible>
#include <QtGui/QShortcut>
#include <QtTest/QSignalSpy>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using testing::ThemedWindow;

ConfirmDialog::Question deleteLogs()
{
    return {QStringLiteral("Delete All Logs?"),
            QStringLiteral("This permanently removes all local Quorin Gateway transfer log files."),
            QStringLiteral("Delete"),
            QStringLiteral("Cancel"),
            ConfirmDialog::Kind::loss};
}

TEST(ConfirmDialog, OfALossHasItsFocusOnTheWayBack)
{
    ThemedWindow fixture;
    ConfirmDialog dialog(fixture.theme(), fixture.window(), deleteLogs());
    QSignalSpy yes(&dialog, &ConfirmDialog::confirmed);
    QSignalSpy no(&dialog, &ConfirmDialog::cancelled);
    ASSERT_TRUE(fixture.show());

    dialog.ask();
    ASSERT_TRUE(dialog.cancelButton().hasFocus());
    QTest::keyClick(&dialog.cancelButton(), Qt::Key_Return);

    EXPECT_EQ(yes.count(), 0);
    EXPECT_EQ(no.count(), 1);
    EXPECT_FALSE(dialog.isVisible());
}

TEST(ConfirmDialog, OfAStepHasItsFocusOnTheStep)
{
    ThemedWindow fixture;
    ConfirmDialog::Question question = deleteLogs();
    question.kind = ConfirmDialog::Kind::step;
    ConfirmDialog dialog(fixture.theme(), fixture.window(), question);
    ASSERT_TRUE(fixture.show());

    dialog.ask();

    EXPECT_TRUE(dialog.confirmButton().hasFocus());
}

TEST(ConfirmDialog, TakesYesByMouseAndOnlyThere)
{
    ThemedWindow fixture;
    ConfirmDialog dialog(fixture.theme(), fixture.window(), deleteLogs());
    QSignalSpy yes(&dialog, &ConfirmDialog::confirmed);
    QSignalSpy no(&dialog, &ConfirmDialog::cancelled);
    ASSERT_TRUE(fixture.show());
    dialog.ask();

    QTest::mouseClick(&dialog.confirmButton(), Qt::LeftButton);
    EXPECT_EQ(yes.count(), 1);
    dialog.ask();
    QTest::mouseClick(&dialog, Qt::LeftButton, {}, QPoint(4, 4));

    EXPECT_EQ(yes.count(), 1);
    EXPECT_EQ(no.count(), 1);
}

TEST(Sheet, KeepsTabWithinItself)
{
    ThemedWindow fixture;
    fixture.add(new PrimaryButton(fixture.theme(), QStringLiteral("Behind")));
    ConfirmDialog dialog(fixture.theme(), fixture.window(), deleteLogs());
    ASSERT_TRUE(fixture.show());
    dialog.ask();

    QTest::keyClick(fixture.window().focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(dialog.confirmButton().hasFocus());
    EXPECT_TRUE(showsFocus(dialog.confirmButton()));
    QTest::keyClick(fixture.window().focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(dialog.cancelButton().hasFocus());
    QTest::keyClick(fixture.window().focusWidget(), Qt::Key_Backtab);

    EXPECT_TRUE(dialog.confirmButton().hasFocus());
}

TEST(Sheet, GivesTheFocusBack)
{
    ThemedWindow fixture;
    fixture.add(new PrimaryButton(fixture.theme(), QStringLiteral("Refresh")));
    auto &opener = fixture.add(new PrimaryButton(fixture.theme(), QStringLiteral("Delete Logs")));
    ConfirmDialog dialog(fixture.theme(), fixture.window(), deleteLogs());
    ASSERT_TRUE(fixture.show());
    opener.setFocus(Qt::TabFocusReason);

    dialog.ask();
    EXPECT_TRUE(showsFocus(dialog.cancelButton())); // the keyboard opened it
    QTest::keyClick(&dialog.cancelButton(), Qt::Key_Escape);

    EXPECT_FALSE(dialog.isVisible());
    EXPECT_TRUE(opener.hasFocus());
    EXPECT_TRUE(showsFocus(opener));
}

TEST(Sheet, StaysWhenItMayNotBeDismissed)
{
    ThemedWindow fixture;
    Sheet sheet(fixture.theme(), fixture.window(), QStringLiteral("Terms"));
    sheet.setDismissible(false);
    QSignalSpy dismissals(&sheet, &Sheet::dismissed);
    ASSERT_TRUE(fixture.show());
    sheet.open();

    QTest::keyClick(&sheet, Qt::Key_Escape);
    QTest::mouseClick(&sheet, Qt::LeftButton, {}, QPoint(3, 3));

    EXPECT_TRUE(sheet.isVisible());
    EXPECT_EQ(dismissals.count(), 0);
    sheet.closeSheet();
    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(dismissals.count(), 0);
}

TEST(Sheet, KeepsWhatWasTypedFromAClickBesideIt)
{
    ThemedWindow fixture;
    Sheet sheet(fixture.theme(), fixture.window(), QStringLiteral("Sign In"));
    auto *field = new TextField(fixture.theme());
    sheet.body().addWidget(field);
    ASSERT_TRUE(fixture.show());
    sheet.open();
    field->setText(QStringLiteral("offered"));
    QTest::keyClicks(field, QStringLiteral("ann"));

    QTest::mouseClick(&sheet, Qt::LeftButton, {}, QPoint(3, 3));
    EXPECT_TRUE(sheet.isVisible());

    field->clear();
    QTest::mouseClick(&sheet, Qt::LeftButton, {}, QPoint(3, 3));
    EXPECT_FALSE(sheet.isVisible()); // there is nothing to lose
}

TEST(Sheet, PressesItsDefaultButtonFromAField)
{
    ThemedWindow fixture;
    Sheet sheet(fixture.theme(), fixture.window(), QStringLiteral("Sign In"));
    auto *field = new TextField(fixture.theme());
    auto *button = new PrimaryButton(fixture.theme(), QStringLiteral("Sign In"));
    sheet.body().addWidget(field);
    sheet.body().addWidget(button);
    sheet.setDefaultButton(button);
    QSignalSpy clicks(button, &QAbstractButton::clicked);
    ASSERT_TRUE(fixture.show());
    sheet.open();

    ASSERT_TRUE(field->hasFocus());
    QTest::keyClick(field, Qt::Key_Return);

    EXPECT_EQ(clicks.count(), 1);
}

TEST(Sheet, KeepsShortcutsOfTheWindowAway)
{
    ThemedWindow fixture;
    QShortcut refresh(QKeySequence(Qt::Key_F5), &fixture.window());
    QSignalSpy refreshes(&refresh, &QShortcut::activated);
    ConfirmDialog dialog(fixture.theme(), fixture.window(), deleteLogs());
    ASSERT_TRUE(fixture.show());

    QTest::keyClick(&fixture.window(), Qt::Key_F5);
    ASSERT_EQ(refreshes.count(), 1);
    dialog.ask();
    QTest::keyClick(&fixture.window(), Qt::Key_F5);
    EXPECT_EQ(refreshes.count(), 1);
    QTest::keyClick(&dialog.cancelButton(), Qt::Key_Escape);
    QTest::keyClick(&fixture.window(), Qt::Key_F5);

    EXPECT_EQ(refreshes.count(), 2);
}

TEST(Sheet, CoversItsWindowAlsoWhenThatGrows)
{
    ThemedWindow fixture;
    ConfirmDialog dialog(fixture.theme(), fixture.window(), deleteLogs());
    ASSERT_TRUE(fixture.show());
    dialog.ask();

    fixture.window().resize(900, 700);
    QApplication::processEvents();

    EXPECT_EQ(dialog.geometry(), fixture.window().rect());
}

TEST(Sheet, TellsAssistiveToolsThatItIsADialog)
{
    ThemedWindow fixture;
    ConfirmDialog dialog(fixture.theme(), fixture.window(), deleteLogs());

    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(&dialog);

    ASSERT_NE(told, nullptr);
    EXPECT_EQ(told->role(), QAccessible::Dialog);
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("Delete All Logs?"));
}

TEST(Sheet, HasRoomForLongerWords)
{
    ThemedWindow fixture;
    ConfirmDialog::Question question = deleteLogs();
    for (QString *words : {&question.title, &question.message, &question.confirm, &question.cancel}) {
        *words = testing::lengthened(*words);
    }
    ConfirmDialog dialog(fixture.theme(), fixture.window(), question);
    ASSERT_TRUE(fixture.show());

    dialog.ask();

    EXPECT_EQ(testing::clippedIn(dialog), QStringList());
}

TEST(Toast, ShowsItsSentenceAndGoesAtAClick)
{
    ThemedWindow fixture;
    Toast toast(fixture.theme(), fixture.window());
    ASSERT_TRUE(fixture.show());
    EXPECT_FALSE(toast.isVisible());

    toast.showMessage(
        QStringLiteral("checkmark.circle.fill"), QStringLiteral("3 log files are deleted."), Color::green);
    EXPECT_TRUE(toast.isVisible());
    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(&toast);
    ASSERT_NE(told, nullptr);
    EXPECT_EQ(told->role(), QAccessible::AlertMessage);
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("3 log files are deleted."));
    QTest::mouseClick(&toast, Qt::LeftButton);

    EXPECT_FALSE(toast.isVisible());
}

} // namespace
} // namespace gateway::shell
