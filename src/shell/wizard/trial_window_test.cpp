#include "shell/wizard/trial_window.h"

#include "account/testing/fake_archive.h"
#include "shell/controls/button.h"
#include "shell/language/translations.h"
#include "shell/testing/every_look.h"
#include "shell/testing/screen_checks.h"
#include "shell/testing/shown_widgets.h"
#include "shell/theme/theme.h"
#include "wizard/testing/sample_world.h"

#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>

#include <gtest/gtest.h>

#include <optional>

namespace gateway::shell {
namespace {

using testing::pressShown;
using testing::shownButton;
using testing::shownWords;

using wizard::LocalSample;
using wizard::SetupTrial;
using wizard::TrialState;
using wizard::TrialStep;

struct Trial : ::testing::Test, wizard::testing::SampleWorld
{
    Trial()
    {
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
    }

    /// The shown button with this title; null where there is none.
    Button *button(const char *title) { return shownButton(window, QString::fromUtf8(title)); }

    void press(const char *title) { pressShown(window, QString::fromUtf8(title)); }

    void runToEnd()
    {
        while (trial.isRunning()) {
            pass(SetupTrial::kLook);
        }
    }

    QString words() const { return shownWords(window); }

    bool says(const char *text) const { return words().contains(QString::fromUtf8(text)); }

    void expectWhole(const QString &picture)
    {
        QApplication::processEvents();
        EXPECT_EQ(testing::clippedIn(window), QStringList());
        testing::keepPicture(window, picture);
    }

    Theme theme;
    wizard::SampleRemoval removal{parts()};
    SetupTrial trial{parts(), removal};
    TrialWindow window{theme, trial};
};

TEST_F(Trial, IsOfferedAndCanBeSkipped)
{
    window.present();

    EXPECT_TRUE(button("Skip")->isEnabled());
    EXPECT_TRUE(says("Send a sample to the listener\n"));
    EXPECT_EQ(window.focusWidget(), button("Try it now"));
    expectWhole(QStringLiteral("trial-offer"));

    press("Skip");

    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(gateway.sent(), QStringList());
}

TEST_F(Trial, EndsWithACheckMarkALine)
{
    window.present();
    const int height = window.height();

    press("Try it now");
    EXPECT_TRUE(button("Try it now")->isBusy());
    EXPECT_TRUE(says("Under way"));
    runToEnd();

    EXPECT_TRUE(says("It Works"));
    EXPECT_EQ(words().count(QStringLiteral("Passed")), 5);
    EXPECT_EQ(button("Close"), nullptr);
    EXPECT_LE(std::abs(window.height() - height),
              theme.space(Space::page)); // only the sentence above may wrap
    expectWhole(QStringLiteral("trial-passed"));

    press("Done");
    EXPECT_FALSE(window.isVisible());
}

TEST_F(Trial, SaysWhatIsWrongAndCanBeRepeated)
{
    cloud.setSignedIn(false);
    window.present();

    press("Try it now");
    runToEnd();

    EXPECT_TRUE(says("Something Is in the Way"));
    EXPECT_TRUE(says("Nobody is signed in."));
    EXPECT_TRUE(says("Not tried."));
    expectWhole(QStringLiteral("trial-signed-out"));

    cloud.setSignedIn(true);
    press("Try Again");
    runToEnd();
    EXPECT_TRUE(says("It Works"));
}

/// The same at an archive, which is tried out behind.
struct TrialAtAnArchive : account::testing::SessionWorld
{
    TrialAtAnArchive()
    {
        theme.setReducedMotion(true);
        theme.applyTo(*qApp);
        using cloud_client::TrialStep;
        archive.found = {{QStringLiteral("name"), TrialStep::Outcome::good, QStringLiteral("It is there.")},
                         {QStringLiteral("connection"),
                          TrialStep::Outcome::good,
                          QStringLiteral("Its certificate is good.")},
                         {QStringLiteral("read back"),
                          TrialStep::Outcome::good,
                          QStringLiteral("The sample comes back as it was sent.")},
                         {QStringLiteral("delete"),
                          TrialStep::Outcome::remark,
                          QStringLiteral("Nothing can be deleted there.")}};
        window.present();
    }

    void runToEnd()
    {
        pressShown(window, QStringLiteral("Try it now"));
        while (trial.isRunning()) {
            sample.pass(SetupTrial::kLook);
        }
        runUntil([this] { return !archive.model.isTesting(); });
        QApplication::processEvents();
    }

    wizard::testing::SampleWorld sample;
    account::testing::FakeArchive archive{*this};
    Theme theme;
    wizard::SampleRemoval removal{sample.parts()};
    SetupTrial trial{sample.parts(), removal};
    TrialWindow window{theme, trial, &archive.model};
};

TEST_F(TrialAtAnArchive, TellsWhoAnswersWhatComesBackAndWhatItCannotDo)
{
    runToEnd();

    const QString words = shownWords(window);
    EXPECT_TRUE(words.contains(QStringLiteral("It Works"))) << words.toStdString();
    EXPECT_TRUE(words.contains(QStringLiteral("Its certificate is good.")));
    EXPECT_TRUE(words.contains(QStringLiteral("The sample comes back as it was sent.")));
    EXPECT_TRUE(words.contains(QStringLiteral("Nothing can be deleted there.")));
    EXPECT_FALSE(words.contains(QStringLiteral("It is there."))) << "the sample's way tells that";
    EXPECT_EQ(testing::clippedIn(window), QStringList());
    testing::keepPicture(window, QStringLiteral("trial-archive"));
}

TEST_F(TrialAtAnArchive, DoesNotSayThatItWorksWhereItDoesNot)
{
    archive.found = {{QStringLiteral("read back"),
                      cloud_client::TrialStep::Outcome::failed,
                      QStringLiteral("Nothing comes back.")}};

    runToEnd();

    EXPECT_TRUE(shownWords(window).contains(QStringLiteral("Something Is in the Way")));
    EXPECT_NE(shownButton(window, QStringLiteral("Try Again")), nullptr);
}

TEST_F(TrialAtAnArchive, TriesNothingBehindASampleThatDidNotArrive)
{
    sample.cloud.setSignedIn(false);

    runToEnd();

    EXPECT_FALSE(shownWords(window).contains(QStringLiteral("Its certificate is good.")));
    EXPECT_TRUE(archive.model.steps().isEmpty());
}

TEST_F(Trial, ShowsTheLongestSentencesWhole)
{
    const Translations german{QLocale(QLocale::German)};
    gateway.holdUp(core::FailureClass::anotherVersionInCloud);
    gateway.recordAs(LocalSample::State::failed);
    cloud.refuseDeletes(QStringLiteral("Deleting needs the permission of whoever runs this archive."));
    TrialWindow translated(theme, trial);
    translated.present();

    trial.start();
    runToEnd();
    QApplication::processEvents();

    EXPECT_EQ(testing::clippedIn(translated), QStringList());
    testing::keepPicture(translated, QStringLiteral("trial-german"));
}

TEST_F(Trial, HasRoomInEveryLook)
{
    runToEnd();
    std::optional<TrialWindow> other;
    EXPECT_EQ(testing::clippedInEveryLook(QStringLiteral("trial"),
                                          {QSize()},
                                          [&] {
                                              other.emplace(theme, trial);
                                              other->present();
                                              return testing::Opened{*other, theme};
                                          }),
              "");
}

TEST_F(Trial, HasRoomForAWordierLanguage)
{
    testing::PseudoLocale wordy;
    QApplication::installTranslator(&wordy);
    TrialWindow translated(theme, trial);
    translated.present();
    QApplication::processEvents();

    EXPECT_EQ(testing::clippedIn(translated), QStringList());
    testing::keepPicture(translated, QStringLiteral("trial-wordy"));
}

TEST_F(Trial, ClosedHalfWayIsStoppedAndCleansUp)
{
    gateway.setGoesLast(true);
    window.present();
    press("Try it now");
    runUntil([this] { return trial.lines().at(2).state == TrialState::running; });
    EXPECT_NE(button("Stop"), nullptr);

    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
    runToEnd();

    EXPECT_EQ(gateway.here(), QStringList());
    EXPECT_EQ(cloud.removed().first(), gateway.sent().first());
}

TEST_F(Trial, OpenedAgainBeginsAnew)
{
    window.present();
    press("Try it now");
    runToEnd();
    press("Done");

    window.present();

    EXPECT_NE(button("Skip"), nullptr);
    EXPECT_FALSE(says("Passed"));
}

} // namespace
} // namespace gateway::shell
