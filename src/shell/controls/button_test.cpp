#include "shell/controls/button.h"

#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"
#include "shell/theme/focus_watcher.h"

#include <QtGui/QAccessible>
#include <QtTest/QSignalSpy>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using testing::ThemedWindow;

QImage pictureOf(QWidget &widget)
{
    return widget.grab().toImage();
}

TEST(Button, IsPressedByMouseSpaceAndReturn)
{
    ThemedWindow fixture;
    auto &button = fixture.add(new PrimaryButton(fixture.theme(), QStringLiteral("Save Changes")));
    QSignalSpy clicks(&button, &QAbstractButton::clicked);
    ASSERT_TRUE(fixture.show());

    QTest::mouseClick(&button, Qt::LeftButton);
    button.setFocus();
    QTest::keyClick(&button, Qt::Key_Space);
    QTest::keyClick(&button, Qt::Key_Return);

    EXPECT_EQ(clicks.count(), 3);
}

TEST(Button, ShowsTheFocusRingForTheKeyboardOnly)
{
    ThemedWindow fixture;
    auto &first = fixture.add(new Button(fixture.theme(), ButtonKind::secondary, QStringLiteral("First")));
    auto &second = fixture.add(new Button(fixture.theme(), ButtonKind::secondary, QStringLiteral("Second")));
    ASSERT_TRUE(fixture.show());
    first.setFocus(Qt::OtherFocusReason);
    const QImage atRest = pictureOf(second);

    QTest::keyClick(&first, Qt::Key_Tab);

    ASSERT_TRUE(second.hasFocus());
    EXPECT_TRUE(showsFocus(second));
    EXPECT_NE(pictureOf(second), atRest);

    first.setFocus(Qt::OtherFocusReason);
    EXPECT_FALSE(showsFocus(second));
    QTest::mouseClick(&second, Qt::LeftButton);

    ASSERT_TRUE(second.hasFocus());
    EXPECT_FALSE(showsFocus(second));
}

TEST(Button, KeepsItsPlaceAndSizeInEveryState)
{
    ThemedWindow fixture;
    auto &button = fixture.add(
        new CapsuleButton(fixture.theme(), QStringLiteral("View Logs"), QStringLiteral("folder")));
    ASSERT_TRUE(fixture.show());
    const QSize hint = button.sizeHint();
    const QRect geometry = button.geometry();

    button.setProperty(kShowsFocusProperty, true);
    button.setDown(true);
    button.setCheckable(true);
    button.setChecked(true);
    button.setBusy(true);
    QApplication::processEvents();

    EXPECT_EQ(button.sizeHint(), hint);
    EXPECT_EQ(button.geometry(), geometry);
    EXPECT_EQ(hint.height(), fixture.theme().size(Size::control));
}

TEST(Button, TakesNoClickWhileBusyAndKeepsTheFocus)
{
    ThemedWindow fixture;
    auto &button = fixture.add(new PrimaryButton(fixture.theme(), QStringLiteral("Sign In")));
    auto &next = fixture.add(new PrimaryButton(fixture.theme(), QStringLiteral("Next")));
    QSignalSpy clicks(&button, &QAbstractButton::clicked);
    ASSERT_TRUE(fixture.show());
    button.setFocus();

    button.setBusy(true);
    QTest::mouseClick(&button, Qt::LeftButton);
    QTest::mouseDClick(&button, Qt::LeftButton);
    QTest::keyClick(&button, Qt::Key_Space);
    QTest::keyClick(&button, Qt::Key_Return);

    EXPECT_EQ(clicks.count(), 0);
    EXPECT_TRUE(button.hasFocus());
    EXPECT_EQ(button.accessibleDescription(), QStringLiteral("Busy"));

    QTest::keyClick(&button, Qt::Key_Tab);
    EXPECT_TRUE(next.hasFocus());
    button.setBusy(false);
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_EQ(clicks.count(), 1);
}

TEST(Button, LooksAnotherWayInEachOfItsSevenStates)
{
    ThemedWindow fixture;
    QList<QImage> pictures;
    for (int state = 0; state < 7; ++state) {
        auto &button =
            fixture.add(new Button(fixture.theme(), ButtonKind::secondary, QStringLiteral("Refresh")));
        ASSERT_TRUE(fixture.show());
        if (state == 1) {
            button.setAttribute(Qt::WA_UnderMouse);
            QEnterEvent enter({}, {}, {});
            QCoreApplication::sendEvent(&button, &enter);
        }
        button.setDown(state == 2);
        button.setProperty(kShowsFocusProperty, state == 3);
        button.setCheckable(state == 4);
        button.setChecked(state == 4);
        button.setEnabled(state != 5);
        button.setBusy(state == 6);
        pictures.append(pictureOf(button));
        EXPECT_EQ(pictures.count(pictures.last()), 1) << "state " << state;
    }
}

TEST(Button, GrowsWithItsWords)
{
    const Theme theme;
    const QString words = QStringLiteral("Check for Updates");
    const QString more = testing::lengthened(words);
    const Button button(theme, ButtonKind::secondary, words);
    const Button longer(theme, ButtonKind::secondary, more);

    const int words1 = button.fontMetrics().horizontalAdvance(words);
    const int words2 = longer.fontMetrics().horizontalAdvance(more);

    EXPECT_GT(words2, words1);
    EXPECT_GE(longer.minimumSizeHint().width() - button.minimumSizeHint().width(), words2 - words1);
    EXPECT_GE(longer.minimumSizeHint().width(), words2 + 2 * theme.space(Space::gap));
}

TEST(Button, TellsAssistiveToolsItsRoleAndName)
{
    const Theme theme;
    PrimaryButton button(theme, QStringLiteral("Sign In"));

    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(&button);

    ASSERT_NE(told, nullptr);
    EXPECT_EQ(told->role(), QAccessible::PushButton);
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("Sign In"));
    EXPECT_TRUE(told->state().focusable);
}

} // namespace
} // namespace gateway::shell
