#include "shell/controls/chip.h"
#include "shell/controls/combo_box.h"
#include "shell/controls/segmented_control.h"
#include "shell/controls/switch.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"
#include "shell/theme/focus_watcher.h"

#include <QtGui/QAccessible>
#include <QtGui/QWheelEvent>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QAbstractButton>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using testing::ThemedWindow;

QAbstractButton &segment(SegmentedControl &control, int index)
{
    return *control.findChildren<QAbstractButton *>().at(index);
}

TEST(Switch, TurnsByMouseAnywhereOnItAndBySpace)
{
    ThemedWindow fixture;
    auto &toggle = fixture.add(new Switch(fixture.theme(), QStringLiteral("Enable Listener")));
    QSignalSpy turns(&toggle, &QAbstractButton::toggled);
    ASSERT_TRUE(fixture.show());

    QTest::mouseClick(&toggle, Qt::LeftButton, {}, QPoint(toggle.width() - 8, toggle.height() / 2));
    EXPECT_TRUE(toggle.isChecked());
    QTest::mouseClick(&toggle, Qt::LeftButton, {}, QPoint(4, toggle.height() / 2));
    EXPECT_FALSE(toggle.isChecked());
    toggle.setFocus();
    QTest::keyClick(&toggle, Qt::Key_Space);

    EXPECT_TRUE(toggle.isChecked());
    EXPECT_EQ(turns.count(), 3);
}

TEST(Switch, TakesNoPressWhileItIsBusyAndKeepsItsSize)
{
    ThemedWindow fixture;
    auto &toggle = fixture.add(new Switch(fixture.theme(), QStringLiteral("Enable Listener")));
    ASSERT_TRUE(fixture.show());
    const QSize size = toggle.sizeHint();
    const QImage rest = toggle.grab().toImage();

    toggle.setBusy(true);
    QTest::mouseClick(&toggle, Qt::LeftButton, {}, QPoint(4, toggle.height() / 2));
    toggle.setFocus();
    QTest::keyClick(&toggle, Qt::Key_Space);
    EXPECT_FALSE(toggle.isChecked());
    EXPECT_EQ(toggle.sizeHint(), size);
    EXPECT_NE(toggle.grab().toImage(), rest);

    toggle.setBusy(false);
    QTest::keyClick(&toggle, Qt::Key_Space);
    EXPECT_TRUE(toggle.isChecked());
}

TEST(Switch, LooksOnWhenItIsOn)
{
    ThemedWindow fixture;
    auto &toggle = fixture.add(new Switch(fixture.theme(), {}, Color::switchOn));
    ASSERT_TRUE(fixture.show());
    const QColor on = fixture.theme().color(Color::switchOn);
    const QPoint track(toggle.width() - 4 - 30, toggle.height() / 2);

    toggle.setChecked(true);

    EXPECT_EQ(toggle.grab().toImage().pixelColor(track), on);
    toggle.setChecked(false);
    EXPECT_NE(toggle.grab().toImage().pixelColor(track), on);
}

TEST(Switch, TellsAssistiveToolsWhetherItIsOn)
{
    const Theme theme;
    Switch toggle(theme, QStringLiteral("Auto-refresh"));
    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(&toggle);
    ASSERT_NE(told, nullptr);

    toggle.setChecked(true);

    EXPECT_EQ(told->role(), QAccessible::CheckBox);
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("Auto-refresh"));
    EXPECT_TRUE(told->state().checked);
}

TEST(SegmentedControl, HasExactlyOneCurrentSegment)
{
    ThemedWindow fixture;
    auto &control = fixture.add(new SegmentedControl(fixture.theme()));
    EXPECT_EQ(control.currentIndex(), -1);
    for (const char *title : {"Hour", "Day", "Week"}) {
        control.addSegment(QString::fromLatin1(title));
    }
    QSignalSpy changes(&control, &SegmentedControl::currentChanged);
    ASSERT_TRUE(fixture.show());
    EXPECT_EQ(control.currentIndex(), 0);

    QTest::mouseClick(&segment(control, 2), Qt::LeftButton);
    EXPECT_EQ(control.currentIndex(), 2);
    control.setCurrentIndex(1);
    control.setCurrentIndex(7);

    EXPECT_EQ(control.currentIndex(), 1);
    EXPECT_FALSE(segment(control, 2).isChecked());
    ASSERT_EQ(changes.count(), 2);
    EXPECT_EQ(changes.at(1).at(0).toInt(), 1);
}

TEST(SegmentedControl, IsOneStopForTabAndMovesByArrows)
{
    ThemedWindow fixture;
    auto &control = fixture.add(new SegmentedControl(fixture.theme()));
    control.addSegment(QStringLiteral("Dark"));
    control.addSegment(QStringLiteral("Light"));
    auto &after = fixture.add(new Switch(fixture.theme()));
    ASSERT_TRUE(fixture.show());
    segment(control, 0).setFocus(Qt::TabFocusReason);

    QTest::keyClick(&segment(control, 0), Qt::Key_Right);
    EXPECT_EQ(control.currentIndex(), 1);
    QTest::keyClick(&segment(control, 1), Qt::Key_Tab);

    EXPECT_TRUE(after.hasFocus());
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&segment(control, 0))->role(), QAccessible::RadioButton);
}

TEST(SegmentedControl, KeepsItsSizeWhateverIsCurrent)
{
    const Theme theme;
    SegmentedControl control(theme);
    control.addSegment(QStringLiteral("Dashboard"), QStringLiteral("square.grid.2x2.fill"));
    control.addSegment(QStringLiteral("Logs"));
    const QSize first = control.sizeHint();

    control.setCurrentIndex(1);

    EXPECT_EQ(control.sizeHint(), first);
    EXPECT_EQ(first.height(), theme.size(Size::control));
}

TEST(FilterChip, KeepsItsSizeWhenItsMarkComes)
{
    ThemedWindow fixture;
    auto &chip = fixture.add(new FilterChip(fixture.theme(), QStringLiteral("Upload Queue")));
    ASSERT_TRUE(fixture.show());
    const QSize off = chip.sizeHint();

    QTest::mouseClick(&chip, Qt::LeftButton);

    EXPECT_TRUE(chip.isChecked());
    EXPECT_EQ(chip.sizeHint(), off);
}

TEST(Chip, HasRoomForItsWords)
{
    const Theme theme;
    const QString words = testing::lengthened(QStringLiteral("Quorin Cloud"));
    const Chip chip(theme, words, Color::violet);

    EXPECT_GT(chip.sizeHint().width(), chip.fontMetrics().horizontalAdvance(words));
    EXPECT_EQ(chip.textFormat(), Qt::PlainText);
}

TEST(ComboBox, LeavesTheWheelToThePage)
{
    ThemedWindow fixture;
    auto &combo = fixture.add(new ComboBox(fixture.theme()));
    combo.addItems({QStringLiteral("2"), QStringLiteral("4")});
    ASSERT_TRUE(fixture.show());
    combo.setFocus();
    QWheelEvent wheel(QPointF(5, 5),
                      combo.mapToGlobal(QPointF(5, 5)),
                      {},
                      QPoint(0, -120),
                      {},
                      {},
                      Qt::NoScrollPhase,
                      false);

    QCoreApplication::sendEvent(&combo, &wheel);

    EXPECT_EQ(combo.currentIndex(), 0);
    EXPECT_FALSE(wheel.isAccepted());
    QTest::keyClick(&combo, Qt::Key_Down);
    EXPECT_EQ(combo.currentIndex(), 1);
}

} // namespace
} // namespace gateway::shell
