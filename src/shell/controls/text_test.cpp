#include "shell/controls/fixed_digit_label.h"
#include "shell/controls/form_field.h"
#include "shell/controls/inline_error.h"
#include "shell/controls/progress_row.h"
#include "shell/controls/state_label.h"
#include "shell/controls/text_field.h"
#include "shell/controls/text_label.h"
#include "shell/controls/tool_tip.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"
#include "shell/theme/focus_watcher.h"

#include <QtGui/QAccessible>
#include <QtGui/QPainter>
#include <QtGui/QTextDocument>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QAbstractButton>

#include <gtest/gtest.h>

namespace gateway::shell {
namespace {

using testing::ThemedWindow;

TEST(FixedDigitLabel, IsAsWideForAnyDigits)
{
    const Theme theme;
    const FixedDigitLabel ones(theme, QStringLiteral("1,111,111"), TypeStyle::h1);
    const FixedDigitLabel eights(theme, QStringLiteral("8,408,960"), TypeStyle::h1);

    EXPECT_EQ(ones.sizeHint(), eights.sizeHint());
    EXPECT_NE(ones.fontMetrics().horizontalAdvance(ones.text()),
              eights.fontMetrics().horizontalAdvance(eights.text()));
}

TEST(FixedDigitLabel, LeavesOtherDigitsWhereTheyAreWhenOneChanges)
{
    ThemedWindow fixture;
    auto &label = fixture.add(new FixedDigitLabel(fixture.theme(), QStringLiteral("1047"), TypeStyle::h1));
    ASSERT_TRUE(fixture.show());
    const QImage before = label.grab().toImage();

    label.setText(QStringLiteral("8047"));
    const QImage after = label.grab().toImage();

    const int cell = label.sizeHint().width() / 4;
    const QRect others(cell + 1, 0, 3 * cell - 1, label.height());
    EXPECT_EQ(after.copy(others), before.copy(others));
    EXPECT_NE(after, before);
}

TEST(FixedDigitLabel, IsReadAsItsText)
{
    const Theme theme;
    FixedDigitLabel label(theme, QStringLiteral("10.0 Mbps"), TypeStyle::h1);

    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(&label);

    ASSERT_NE(told, nullptr);
    EXPECT_EQ(told->role(), QAccessible::StaticText);
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("10.0 Mbps"));
}

TEST(StateLabel, SaysItsStateInColorAndWord)
{
    ThemedWindow fixture;
    auto &label = fixture.add(new StateLabel(fixture.theme()));
    label.setState(QStringLiteral("READY"), Color::green);
    ASSERT_TRUE(fixture.show());

    const QImage picture = label.grab().toImage();

    EXPECT_EQ(picture.pixelColor(7, picture.height() / 2), fixture.theme().color(Color::green));
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&label)->text(QAccessible::Name),
              QStringLiteral("READY"));
    EXPECT_GT(label.sizeHint().width(), label.fontMetrics().horizontalAdvance(QStringLiteral("READY")));
}

TEST(TextLabel, ShowsMarkupAsItIs)
{
    const Theme theme;
    const TextLabel label(theme, QStringLiteral("<b>DOE^JANE</b>"), TypeStyle::body);

    EXPECT_EQ(label.textFormat(), Qt::PlainText);
    EXPECT_GE(label.sizeHint().width(),
              label.fontMetrics().horizontalAdvance(QStringLiteral("<b>DOE^JANE</b>")));
}

TEST(TextLabel, FollowsTheVariant)
{
    ThemedWindow fixture;
    auto &label =
        fixture.add(new TextLabel(fixture.theme(), QStringLiteral("Text"), TypeStyle::body, Color::text2));

    fixture.theme().setVariant(Variant::light);

    EXPECT_EQ(label.palette().color(QPalette::WindowText), fixture.theme().color(Color::text2));
}

TEST(TextField, ShowsItsRingHoweverItWasReached)
{
    ThemedWindow fixture;
    auto &field = fixture.add(new TextField(fixture.theme()));
    auto &other = fixture.add(new TextField(fixture.theme()));
    ASSERT_TRUE(fixture.show());
    const QRect before = field.geometry();

    QTest::mouseClick(&field, Qt::LeftButton);
    QApplication::processEvents();

    EXPECT_TRUE(showsFocus(field));
    EXPECT_EQ(field.geometry(), before);
    QTest::mouseClick(&other, Qt::LeftButton);
    EXPECT_FALSE(showsFocus(field));
}

TEST(PasswordField, HidesItsTextUntilAsked)
{
    const Theme theme;
    PasswordField field(theme, QStringLiteral("Password"));
    field.setText(QStringLiteral("secret"));
    EXPECT_EQ(field.echoMode(), QLineEdit::Password);
    ASSERT_FALSE(field.actions().isEmpty());

    field.actions().constFirst()->trigger();
    EXPECT_EQ(field.echoMode(), QLineEdit::Normal);
    field.actions().constFirst()->trigger();

    EXPECT_EQ(field.echoMode(), QLineEdit::Password);
}

TEST(PasswordField, SpeaksTheLocalesLanguage)
{
    testing::PseudoLocale locale;
    QCoreApplication::installTranslator(&locale);
    const Theme theme;
    const PasswordField field(theme);

    EXPECT_EQ(field.actions().constFirst()->text(), testing::lengthened(QStringLiteral("Show password")));
    QCoreApplication::removeTranslator(&locale);
}

TEST(SearchField, TellsAssistiveToolsWhatItAndItsSignsAreFor)
{
    ThemedWindow fixture;
    const auto &field = fixture.add(new SearchField(fixture.theme(), QStringLiteral("Search action")));

    EXPECT_EQ(field.accessibleName(), QStringLiteral("Search action"));
    const QList<QAction *> signs = field.actions();
    ASSERT_EQ(signs.size(), 2);
    EXPECT_TRUE(
        std::none_of(signs.begin(), signs.end(), [](const QAction *sign) { return sign->text().isEmpty(); }));
}

TEST(SearchField, IsEmptiedByEscapeAndByItsCross)
{
    ThemedWindow fixture;
    auto &field = fixture.add(new SearchField(fixture.theme(), QStringLiteral("Search")));
    ASSERT_TRUE(fixture.show());
    field.setFocus();
    QTest::keyClicks(&field, QStringLiteral("hash"));

    QTest::keyClick(&field, Qt::Key_Escape);
    EXPECT_TRUE(field.text().isEmpty());
    field.setText(QStringLiteral("again"));
    field.actions().constFirst()->trigger();

    EXPECT_TRUE(field.text().isEmpty());
    EXPECT_FALSE(field.actions().constFirst()->isVisible());
}

TEST(FormField, TellsWhatIsWrongAndForgetsIt)
{
    const Theme theme;
    auto *field = new TextField(theme);
    FormField form(theme, QStringLiteral("Port"), field, QStringLiteral("11112 unless told"));

    form.setError(QStringLiteral("Port must be a number between 1 and 65535."));
    EXPECT_TRUE(field->isInvalid());
    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(field);
    EXPECT_EQ(told->text(QAccessible::Name), QStringLiteral("Port"));
    EXPECT_EQ(told->text(QAccessible::Description),
              QStringLiteral("Port must be a number between 1 and 65535."));
    form.setError({});

    EXPECT_FALSE(field->isInvalid());
    EXPECT_EQ(told->text(QAccessible::Description), QStringLiteral("11112 unless told"));
}

TEST(InlineError, TellsWhatHappenedAndWhatToDo)
{
    ThemedWindow fixture;
    auto &error = fixture.add(new InlineError(fixture.theme()));
    QSignalSpy actions(&error, &InlineError::actionRequested);
    ASSERT_TRUE(fixture.show());
    EXPECT_FALSE(error.isVisible());

    error.showMessage(QStringLiteral("The cloud can't be reached."),
                      QStringLiteral("Images are still received and kept."),
                      QStringLiteral("Try again"));

    EXPECT_TRUE(error.isVisible());
    QAccessibleInterface *told = QAccessible::queryAccessibleInterface(&error);
    EXPECT_EQ(told->role(), QAccessible::AlertMessage);
    EXPECT_EQ(told->text(QAccessible::Name),
              QStringLiteral("The cloud can't be reached. Images are still received and kept."));
    QTest::mouseClick(error.findChild<QAbstractButton *>(), Qt::LeftButton);
    EXPECT_EQ(actions.count(), 1);
}

TEST(InlineError, HasRoomForLongerWords)
{
    ThemedWindow fixture;
    auto &error = fixture.add(new InlineError(fixture.theme()));
    fixture.window().resize(360, 400);
    ASSERT_TRUE(fixture.show());

    error.showMessage(
        testing::lengthened(QStringLiteral("The cloud can't be reached at the moment.")),
        testing::lengthened(QStringLiteral("Images are still received and kept here. They are sent later.")),
        testing::lengthened(QStringLiteral("Try again")));
    QApplication::processEvents();

    EXPECT_EQ(testing::clippedIn(error), QStringList());
}

TEST(ProgressRow, ShowsItsShareForAnyCounts)
{
    const Theme theme;
    ProgressRow row(theme, QStringLiteral("Importing"), QStringLiteral("Stop"));

    row.setProgress(1, 4, QStringLiteral("1 of 4 files"));
    EXPECT_EQ(row.bar().value(), row.bar().maximum() / 4);
    row.setProgress(0, 0, QStringLiteral("0 files"));
    EXPECT_EQ(row.bar().value(), 0);
    row.setProgress(9'000'000'000'000, 8'000'000'000'000, QStringLiteral("9 of 8"));

    EXPECT_EQ(row.bar().value(), row.bar().maximum());
}

TEST(ToolTip, ShowsATextAsItStands)
{
    for (const QString &text : {u"Radiology & Partners"_qs, u"<b>Doe</b>^John"_qs, u"Doe^John\nDoe"_qs}) {
        QTextDocument told;
        told.setHtml(toolTipOf(text));

        EXPECT_TRUE(Qt::mightBeRichText(toolTipOf(text))) << "else it shows \"&amp;\"";
        EXPECT_EQ(told.toPlainText(), text);
    }
    EXPECT_EQ(toolTipOf({}), QString());
}

TEST(ProgressRow, CanBeStoppedOnce)
{
    ThemedWindow fixture;
    auto &row =
        fixture.add(new ProgressRow(fixture.theme(), QStringLiteral("Deleting"), QStringLiteral("Stop")));
    QSignalSpy stops(&row, &ProgressRow::stopRequested);
    ASSERT_TRUE(fixture.show());
    auto *button = row.findChild<QAbstractButton *>();

    QTest::mouseClick(button, Qt::LeftButton);
    row.setStopping();
    QTest::mouseClick(button, Qt::LeftButton);

    EXPECT_EQ(stops.count(), 1);
}

} // namespace
} // namespace gateway::shell
