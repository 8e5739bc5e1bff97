#include "shell/controls/button.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/confirm_dialog.h"
#include "shell/controls/segmented_control.h"
#include "shell/controls/switch.h"
#include "shell/gallery/gallery.h"
#include "shell/testing/themed_window.h"
#include "shell/theme/focus_watcher.h"

#include <QtGui/QGuiApplication>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QAbstractItemView>

#include <gtest/gtest.h>

/// What only a display with a window manager can show; started through tests/support/under_x_server.
namespace gateway::shell {
namespace {

using testing::ThemedWindow;

TEST(RealWindow, IsOnARealDisplay)
{
    ASSERT_EQ(QGuiApplication::platformName(), QStringLiteral("xcb"));
}

TEST(RealWindow, GetsTheFocusRingByTabAndNotByClicks)
{
    ThemedWindow fixture;
    auto &first = fixture.add(new PrimaryButton(fixture.theme(), QStringLiteral("First")));
    auto &second = fixture.add(new PrimaryButton(fixture.theme(), QStringLiteral("Second")));
    ASSERT_TRUE(fixture.show());
    const QRect place = second.geometry();

    QTest::mouseClick(fixture.window().windowHandle(), Qt::LeftButton, {}, first.geometry().center());
    ASSERT_TRUE(first.hasFocus());
    EXPECT_FALSE(showsFocus(first));
    QTest::keyClick(fixture.window().windowHandle(), Qt::Key_Tab);

    EXPECT_TRUE(second.hasFocus());
    EXPECT_TRUE(showsFocus(second));
    EXPECT_EQ(second.geometry(), place);
}

TEST(RealWindow, ShowsAListWhoseChoiceIsTaken)
{
    ThemedWindow fixture;
    auto &combo = fixture.add(new ComboBox(fixture.theme()));
    combo.addItems({QStringLiteral("All Levels"), QStringLiteral("Warning"), QStringLiteral("Error")});
    ASSERT_TRUE(fixture.show());

    QTest::mouseClick(&combo, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return combo.view()->isVisible(); }, 30'000));
    EXPECT_FALSE(combo.view()->window()->mask().isEmpty()); // round corners without a compositor
    QTest::keyClick(combo.view(), Qt::Key_Down);
    QTest::keyClick(combo.view(), Qt::Key_Return);

    EXPECT_EQ(combo.currentText(), QStringLiteral("Warning"));
}

TEST(RealWindow, KeepsTheRingOverAPopup)
{
    ThemedWindow fixture;
    fixture.add(new Switch(fixture.theme()));
    auto &combo = fixture.add(new ComboBox(fixture.theme()));
    combo.addItems({QStringLiteral("2"), QStringLiteral("4")});
    ASSERT_TRUE(fixture.show());
    combo.setFocus(Qt::TabFocusReason);

    QTest::keyClick(&combo, Qt::Key_Space);
    ASSERT_TRUE(QTest::qWaitFor([&] { return combo.view()->isVisible(); }, 30'000));
    QTest::keyClick(combo.view(), Qt::Key_Escape);
    ASSERT_TRUE(QTest::qWaitFor([&] { return combo.hasFocus() && !combo.view()->isVisible(); }, 30'000));

    EXPECT_TRUE(showsFocus(combo));
}

TEST(RealWindow, KeepsTheRingWhileAnotherWindowIsActive)
{
    ThemedWindow fixture;
    fixture.add(new Switch(fixture.theme()));
    auto &toggle = fixture.add(new Switch(fixture.theme()));
    QWidget other;
    ASSERT_TRUE(fixture.show());
    toggle.setFocus(Qt::TabFocusReason);

    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other, 30'000));
    fixture.window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&fixture.window(), 30'000));

    EXPECT_TRUE(showsFocus(toggle));
}

TEST(RealWindow, OfTheGalleryChangesItsVariantAndAsksBeforeALoss)
{
    Theme theme;
    theme.setReducedMotion(true);
    theme.applyTo(*qApp);
    Gallery gallery(theme);
    gallery.show();
    gallery.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&gallery, 30'000));

    auto *variant = gallery.findChild<SegmentedControl *>();
    ASSERT_NE(variant, nullptr);
    QTest::mouseClick(variant->findChildren<QAbstractButton *>().at(1), Qt::LeftButton);
    EXPECT_EQ(theme.variant(), Variant::light);

    auto *question = gallery.findChild<ConfirmDialog *>();
    ASSERT_NE(question, nullptr);
    question->ask();
    EXPECT_TRUE(question->cancelButton().hasFocus());
    QTest::keyClick(gallery.windowHandle(), Qt::Key_Escape);
    EXPECT_FALSE(question->isVisible());
}

} // namespace
} // namespace gateway::shell
