#include "shell/theme/focus_watcher.h"

#include "shell/testing/themed_window.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QLineEdit>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using testing::ThemedWindow;

TEST(FocusWatcher, RingsWhatTabReachedAndNotWhatWasClicked)
{
    ThemedWindow fixture;
    auto &first = fixture.add(new QCheckBox(QStringLiteral("First")));
    auto &second = fixture.add(new QCheckBox(QStringLiteral("Second")));
    ASSERT_TRUE(fixture.show());

    QTest::mouseClick(&first, Qt::LeftButton);
    first.setFocus(Qt::MouseFocusReason);
    EXPECT_FALSE(showsFocus(first));
    QTest::keyClick(&first, Qt::Key_Tab);
    EXPECT_TRUE(showsFocus(second));
    QTest::keyClick(&second, Qt::Key_Backtab);

    EXPECT_FALSE(showsFocus(second));
    EXPECT_TRUE(showsFocus(first));
}

TEST(FocusWatcher, RingsAFieldThatIsTypedIntoAtOnce)
{
    ThemedWindow fixture;
    auto &field = fixture.add(new QLineEdit);
    ASSERT_TRUE(fixture.show());

    EXPECT_TRUE(field.hasFocus());
    EXPECT_TRUE(showsFocus(field));
}

TEST(FocusWatcher, TakesTheRingOfOneThatLostTheFocusUnseen)
{
    ThemedWindow fixture;
    auto &first = fixture.add(new QCheckBox(QStringLiteral("First")));
    auto &second = fixture.add(new QCheckBox(QStringLiteral("Second")));
    QWidget otherWindow;
    ASSERT_TRUE(fixture.show());
    second.setFocus();
    first.setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(showsFocus(first));

    otherWindow.show();
    otherWindow.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&otherWindow, 30'000));
    second.setFocus();
    fixture.window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&fixture.window(), 30'000));

    EXPECT_TRUE(second.hasFocus());
    EXPECT_FALSE(showsFocus(first));
}

} // namespace
} // namespace gateway::shell
