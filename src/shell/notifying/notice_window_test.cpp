#include "shell/notifying/notice_window.h"

#include "shell/testing/screen_checks.h"
#include "shell/testing/themed_window.h"

#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QLabel>

#include <gtest/gtest.h>

#include <vector>

namespace gateway::shell {
namespace {

Notice notice(const QString &title)
{
    return {QStringLiteral("exclamationmark.triangle.fill"),
            Color::amber,
            title,
            QStringLiteral("Port 104 is <b>taken</b>.")};
}

/// The notice that is seen now; null where none is.
NoticeWindow *seen()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *found = qobject_cast<NoticeWindow *>(window); found != nullptr && found->isVisible()) {
            return found;
        }
    }
    return nullptr;
}

struct Alerts : ::testing::Test
{
    Alerts() { window.show(); }

    testing::ThemedWindow window;
    Notices notices{window.theme()};
};

TEST_F(Alerts, ShowTitleAndMessageAsPlainTextWithOneButton)
{
    notices.show(notice(QStringLiteral("DIMSE Listener Error")));

    ASSERT_NE(seen(), nullptr);
    EXPECT_TRUE(seen()->isModal());
    QStringList texts;
    for (const QLabel *label : seen()->findChildren<QLabel *>()) {
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
        texts += label->text();
    }
    EXPECT_EQ(
        texts,
        (QStringList{QStringLiteral("DIMSE Listener Error"), QStringLiteral("Port 104 is <b>taken</b>.")}));
    const auto buttons = seen()->findChildren<QAbstractButton *>();
    ASSERT_EQ(buttons.size(), 1);
    EXPECT_EQ(buttons.first()->text(), QStringLiteral("OK"));
}

TEST_F(Alerts, WaitForTheOneBefore)
{
    notices.show(notice(QStringLiteral("First")));
    notices.show(notice(QStringLiteral("Second")));
    ASSERT_NE(seen(), nullptr);
    EXPECT_EQ(seen()->windowTitle(), QStringLiteral("First"));

    seen()->findChild<QAbstractButton *>()->click();
    ASSERT_NE(seen(), nullptr);
    EXPECT_EQ(seen()->windowTitle(), QStringLiteral("Second"));

    QTest::keyClick(seen(), Qt::Key_Escape);
    EXPECT_EQ(seen(), nullptr);
}

TEST_F(Alerts, AskAQuestionByTwoButtons)
{
    std::vector<bool> answers;
    Notice question = notice(QStringLiteral("Critical Update Available"));
    question.accept = QStringLiteral("Install Update Now");
    question.dismiss = QStringLiteral("Later");
    question.answered = [&answers](bool accepted) { answers.push_back(accepted); };
    const auto click = [](const QString &text) {
        for (QAbstractButton *button : seen()->findChildren<QAbstractButton *>()) {
            if (button->text() == text) {
                button->click();
                return;
            }
        }
    };

    notices.show(question);
    click(QStringLiteral("Install Update Now"));
    notices.show(question);
    click(QStringLiteral("Later"));
    notices.show(question);
    QTest::keyClick(seen(), Qt::Key_Escape);

    EXPECT_EQ(answers, (std::vector<bool>{true, false, false}));
    EXPECT_EQ(seen(), nullptr);
}

TEST_F(Alerts, CountAsAcceptedHoweverTheyAreClosedWhereThereIsNothingToChoose)
{
    std::vector<bool> answers;
    Notice told = notice(QStringLiteral("Unable to Check for Updates"));
    told.answered = [&answers](bool accepted) { answers.push_back(accepted); };

    notices.show(told);
    QTest::keyClick(seen(), Qt::Key_Escape);

    EXPECT_EQ(answers, std::vector<bool>{true});
}

TEST_F(Alerts, CutNoWord)
{
    testing::PseudoLocale locale;
    QCoreApplication::installTranslator(&locale);

    notices.show({QStringLiteral("info.circle"),
                  Color::blue,
                  QStringLiteral("A title"),
                  QStringLiteral("A message of some length. ").repeated(12)});
    QCoreApplication::processEvents();

    EXPECT_EQ(testing::clippedIn(*seen()), QStringList());
    QCoreApplication::removeTranslator(&locale);
}

} // namespace
} // namespace gateway::shell
