#include "shell/notifying/notice_window.h"

#include "shell/controls/text_label.h"
#include "shell/testing/every_look.h"
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

    /// The numbers in each window, one window after the other as it is dismissed.
    static QStringList titlesUntilAllAreRead()
    {
        QStringList windows;
        while (NoticeWindow *shown = seen()) {
            QStringList numbers;
            for (const QLabel *label : shown->findChildren<QLabel *>()) {
                if (label->text().startsWith(u"Number ")) {
                    numbers += label->text().mid(7);
                }
            }
            EXPECT_EQ(shown->windowTitle(), QStringLiteral("Number ") + numbers.value(0));
            windows += numbers.join(u' ');
            QTest::keyClick(shown, Qt::Key_Escape);
        }
        return windows;
    }

    testing::ThemedWindow window;
    Notices notices{window.theme()};
};

TEST_F(Alerts, ShowTitleAndMessageAsPlainTextWithOneButton)
{
    notices.show(notice(QStringLiteral("DIMSE Listener Error")));

    ASSERT_NE(seen(), nullptr);
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

TEST_F(Alerts, ShareAWindowWhereTheyOnlyTellSomething)
{
    notices.show(notice(QStringLiteral("First")));
    notices.show(notice(QStringLiteral("Second")));
    Notice again = notice(QStringLiteral("First"));
    again.message = QStringLiteral("Port 105 is taken, too.");
    notices.show(again);

    ASSERT_NE(seen(), nullptr);
    QStringList texts;
    for (const QLabel *label : seen()->findChildren<QLabel *>()) {
        texts += label->text();
    }
    EXPECT_EQ(texts,
              (QStringList{QStringLiteral("First"),
                           QStringLiteral("Port 105 is taken, too."),
                           QStringLiteral("Second"),
                           QStringLiteral("Port 104 is <b>taken</b>.")}));
    EXPECT_EQ(testing::clippedIn(*seen()), QStringList());
    seen()->findChild<QAbstractButton *>()->click();
    EXPECT_EQ(seen(), nullptr);
}

TEST_F(Alerts, LockNothingAndCannotBeMinimised)
{
    notices.show(notice(QStringLiteral("DIMSE Listener Error")));

    ASSERT_NE(seen(), nullptr);
    EXPECT_EQ(seen()->windowModality(), Qt::NonModal);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_FALSE(seen()->windowFlags().testFlag(Qt::WindowMinimizeButtonHint));
    EXPECT_TRUE(seen()->windowFlags().testFlag(Qt::WindowCloseButtonHint));
}

TEST_F(Alerts, ComeBackWithTheNextOneWhereADesktopHasPutThemAway)
{
    notices.show(notice(QStringLiteral("First")));
    NoticeWindow *first = seen();
    ASSERT_NE(first, nullptr);
    first->showMinimized();

    notices.show(notice(QStringLiteral("Second")));

    EXPECT_FALSE(first->isMinimized());
    EXPECT_TRUE(first->tellsOf(QStringLiteral("Second")));
}

TEST_F(Alerts, WaitWhereAWindowIsFullAndNoneIsLost)
{
    for (int i = 1; i <= 9; ++i) {
        notices.show(notice(QStringLiteral("Number %1").arg(i)));
    }
    Notice again = notice(QStringLiteral("Number 7"));
    again.message = QStringLiteral("Later words.");
    notices.show(again);

    EXPECT_EQ(titlesUntilAllAreRead(), (QStringList{u"1 2 3 4"_qs, u"5 6 7 8"_qs, u"9"_qs}));
}

TEST_F(Alerts, BehindAQuestionAreAllShownAfterIt)
{
    Notice question = notice(QStringLiteral("Number 0"));
    question.dismiss = QStringLiteral("Later");
    notices.show(question);
    for (int i = 1; i <= 6; ++i) {
        notices.show(notice(QStringLiteral("Number %1").arg(i)));
    }

    EXPECT_EQ(titlesUntilAllAreRead(), (QStringList{u"0"_qs, u"1 2 3 4"_qs, u"5 6"_qs}));
}

TEST_F(Alerts, WaitForTheQuestionBefore)
{
    Notice first = notice(QStringLiteral("First"));
    first.dismiss = QStringLiteral("Later");
    notices.show(first);
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

TEST_F(Alerts, StandApartWhereOneWindowTellsOfTwo)
{
    notices.show(notice(QStringLiteral("First")));
    notices.show(notice(QStringLiteral("Second")));
    QCoreApplication::processEvents();
    QList<QRect> places;
    for (const TextLabel *label : seen()->findChildren<TextLabel *>()) {
        places.append(label->geometry());
    }

    ASSERT_EQ(places.size(), 4);
    const int within = places[1].top() - places[0].bottom();
    EXPECT_GT(places[2].top() - places[1].bottom(), 2 * within);
}

TEST_F(Alerts, CutNoWordInEveryLook)
{
    EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("notice"),
                                          {QSize()},
                                          [this] {
                                              while (NoticeWindow *shown = seen()) {
                                                  QTest::keyClick(shown, Qt::Key_Escape);
                                              }
                                              notices.show(notice(QStringLiteral("First")));
                                              notices.show(notice(QStringLiteral("Second")));
                                              return testing::Opened{*seen(), window.theme()};
                                          }),
              "");
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
