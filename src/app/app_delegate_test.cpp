#include "app/app_delegate.h"

#include "app/dicom_dictionary.h"
#include "app/headless_face.h"
#include "app/packaged_updates.h"
#include "app/testing/app_world.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

namespace gateway::app {
namespace {

using log::GatewayLogAction;
using testing::AppWorld;

class Launch : public ::testing::Test
{
protected:
    AppWorld m_world;
};

TEST_F(Launch, OpensTheWizardAndNeitherReceivesNorSendsBeforeSetup)
{
    m_world.delegate->applicationDidFinishLaunching();
    m_world.receive.main.drain();

    EXPECT_TRUE(m_world.face.shown.contains(u"blocking wizard"_qs));
    EXPECT_TRUE(m_world.receive.scps.empty());
    EXPECT_EQ(m_world.receive.log.count(GatewayLogAction::uploadRunRequested), 0U);
    EXPECT_EQ(m_world.cleanup.triggers(), QStringList{u"app_launch"_qs});
}

TEST_F(Launch, CountsAFinishedSetupOfVersionNoughtAsNone)
{
    m_world.receive.settings.gatewaySetupCompleted.set(true);

    m_world.delegate->applicationDidFinishLaunching();
    m_world.receive.main.drain();

    EXPECT_TRUE(m_world.face.shown.contains(u"blocking wizard"_qs));
    EXPECT_TRUE(m_world.receive.scps.empty());
}

TEST_F(Launch, AsksForAnUploadBeforeTheListenerStarts)
{
    m_world.finishSetup();

    m_world.delegate->applicationDidFinishLaunching();
    EXPECT_TRUE(m_world.wasUploadRequested(u"app_launch"_qs));
    EXPECT_TRUE(m_world.receive.scps.empty());
    m_world.receive.main.drain();

    EXPECT_EQ(m_world.receive.scps.size(), 1U);
    EXPECT_EQ(m_world.face.shown, QStringList{u"status bar"_qs});
}

TEST_F(Launch, SeesToItsUpkeepInOrder)
{
    m_world.delegate->applicationDidFinishLaunching();
    EXPECT_TRUE(m_world.upkeepDone.isEmpty());
    m_world.receive.main.drain();

    EXPECT_EQ(m_world.upkeepDone, (QStringList{u"install location"_qs, u"updater"_qs, u"version policy"_qs}));
}

TEST_F(Launch, AnActivationBringsTheWizardBackEachTimeBeforeSetup)
{
    m_world.delegate->enforceSetupWizardIfNeeded();
    m_world.delegate->enforceSetupWizardIfNeeded();
    EXPECT_EQ(m_world.face.shown.count(u"blocking wizard"_qs), 2);
    EXPECT_EQ(m_world.face.forward, 2);

    m_world.finishSetup();
    m_world.delegate->enforceSetupWizardIfNeeded();
    EXPECT_EQ(m_world.face.shown.count(u"blocking wizard"_qs), 2);
}

TEST_F(Launch, EveryRequestForAWindowLandsInTheWizardBeforeSetup)
{
    m_world.delegate->applicationDidFinishLaunching();
    m_world.receive.main.drain();
    m_world.face.shown.clear();

    for (const QString &name : {core::kOpenDashboard,
                                core::kOpenSignIn,
                                core::kOpenPreferences,
                                core::kOpenBugReport,
                                core::kOpenSetupWizard}) {
        m_world.receive.notifications.post(name);
    }
    m_world.receive.main.drain();

    EXPECT_EQ(m_world.face.shown, QStringList(5, u"blocking wizard"_qs));
}

TEST_F(Launch, OpensWhatIsAskedForAfterSetup)
{
    m_world.finishSetup();
    m_world.delegate->applicationDidFinishLaunching();
    m_world.receive.main.drain();
    m_world.face.shown.clear();

    for (const QString &name : {core::kOpenDashboard,
                                core::kOpenSignIn,
                                core::kOpenPreferences,
                                core::kOpenBugReport,
                                core::kOpenSetupWizard,
                                core::kCheckForUpdatesRequested}) {
        m_world.receive.notifications.post(name);
        m_world.receive.main.drain();
    }

    EXPECT_EQ(m_world.face.shown,
              (QStringList{u"dashboard"_qs,
                           u"dashboard"_qs,
                           u"sign-in sheet"_qs,
                           u"preferences"_qs,
                           u"bug report"_qs,
                           u"wizard"_qs}));
    EXPECT_TRUE(m_world.upkeepDone.contains(u"check manual_menu"_qs));
}

TEST_F(Launch, SendsTheUserToTheTermsThatTheCloudRequires)
{
    m_world.finishSetup();
    m_world.delegate->applicationDidFinishLaunching();
    m_world.receive.main.drain();
    m_world.face.shown.clear();

    m_world.receive.notifications.post(core::kOpenPreferences);
    m_world.receive.notifications.post(core::kQuorinCloudTermsRequired);

    EXPECT_EQ(m_world.face.shown, (QStringList{u"preferences"_qs, u"terms required"_qs}));
}

TEST(HeadlessFace, HasOneLineForTermsThatSaysWhichCommandToUse)
{
    QStringList lines;
    HeadlessFace face([&lines](const QString &line) { lines.append(line); });

    face.showPreferences();
    face.showTermsRequired();

    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.first().contains(u"Run: quorin-gateway terms show"_qs));
    EXPECT_FALSE(lines.first().contains(u'\n'));
}

TEST_F(Launch, ShowsAnAlertForAListenerThatFailed)
{
    m_world.delegate->applicationDidFinishLaunching();
    m_world.face.shown.clear();

    m_world.receive.notifications.post(core::kStoreListenerError, {{core::kMessageKey, u"No port."_qs}});

    EXPECT_EQ(m_world.face.shown, QStringList{u"DIMSE Listener Error: No port."_qs});
    m_world.receive.notifications.post(
        core::kStoreListenerError,
        {{core::kMessageKey, u"No port."_qs}, {receive::kListenerFailureIsKnownKey, true}});
    EXPECT_EQ(m_world.face.shown.size(), 1) << "it was told already";
}

TEST_F(Launch, ShowsNoAlertWhileTheWizardIsVisible)
{
    m_world.delegate->applicationDidFinishLaunching();
    m_world.face.shown.clear();
    m_world.face.isWizardVisible = true;

    m_world.receive.notifications.post(core::kStoreListenerError, {{core::kMessageKey, u"No port."_qs}});

    EXPECT_TRUE(m_world.face.shown.isEmpty());
}

TEST_F(Launch, ShowsNoAlertWhileSetupIsBeingApplied)
{
    m_world.delegate->applicationDidFinishLaunching();
    m_world.face.shown.clear();
    m_world.isApplyingSetup = true;

    m_world.receive.notifications.post(core::kStoreListenerError, {{core::kMessageKey, u"No port."_qs}});

    EXPECT_TRUE(m_world.face.shown.isEmpty());
}

TEST_F(Launch, ASecondStartBringsBackTheWizardAndAfterSetupWhatPeopleWorkWith)
{
    m_world.delegate->reopen();
    EXPECT_EQ(m_world.face.shown, QStringList{u"blocking wizard"_qs});

    m_world.finishSetup();
    m_world.delegate->reopen();
    EXPECT_EQ(m_world.face.shown.last(), u"reopened"_qs);
    EXPECT_EQ(m_world.face.forward, 2);
}

TEST(PackagedUpdates, SayWhoKeepsTheGatewayUpToDateAndNeverLookByThemselves)
{
    testing::RecordingFace face;
    PackagedUpdates updates(face);

    updates.setAutomaticallyChecksForUpdates(true);
    EXPECT_FALSE(updates.automaticallyChecksForUpdates());
    updates.checkForUpdatesInBackground();
    EXPECT_EQ(face.shown, QStringList());
    updates.checkForUpdates();

    EXPECT_EQ(face.shown, QStringList{u"notice Updates Come With the System"_qs});
}

TEST(HeadlessFace, TellsEachUpdateOnce)
{
    QStringList lines;
    HeadlessFace face([&lines](const QString &line) { lines.append(line); });

    face.tellUpdate(u"Update available: 2.0"_qs);
    face.tellUpdate(u"Update available: 2.0"_qs);
    face.tellUpdate(u"Update available: 2.1"_qs);

    EXPECT_EQ(lines, (QStringList{u"Update available: 2.0"_qs, u"Update available: 2.1"_qs}));
}

TEST(HeadlessFace, WritesAnAlertAsOneLineAndTakesItForDismissed)
{
    QStringList lines;
    HeadlessFace face([&lines](const QString &line) { lines.append(line); });
    std::optional<bool> answer;

    face.ask(
        {.title = u"A Title"_qs, .message = u"One.\n\nTwo."_qs, .accept = u"Yes"_qs, .dismiss = u"No"_qs},
        [&answer](bool accepted) { answer = accepted; });

    EXPECT_EQ(lines, QStringList{u"A Title: One. Two."_qs});
    EXPECT_EQ(answer, false);
}

TEST_F(Launch, HasWordsOfItsOwnForAFailureWithoutAMessage)
{
    m_world.delegate->applicationDidFinishLaunching();
    m_world.face.shown.clear();

    m_world.receive.notifications.post(core::kStoreListenerError);
    m_world.receive.notifications.post(core::kStoreListenerError, {{core::kMessageKey, 7}});

    EXPECT_EQ(m_world.face.shown,
              QStringList(2, u"DIMSE Listener Error: Failed to start DIMSE listener."_qs));
}

TEST_F(Launch, CleansUpEveryHour)
{
    m_world.delegate->startPeriodicCleanup();
    for (int hour = 1; hour <= 2; ++hour) {
        m_world.receive.clock.waitForSleepers(1);
        m_world.receive.clock.advance(std::chrono::hours(1));
        m_world.cleanup.waitFor(hour);
    }

    EXPECT_EQ(m_world.cleanup.triggers(), QStringList(2, u"periodic_1h"_qs));
}

TEST_F(Launch, ASecondStartOfTheHourlyCleanupKeepsTheFirst)
{
    m_world.delegate->startPeriodicCleanup();
    m_world.receive.clock.waitForSleepers(1);
    m_world.receive.clock.advance(std::chrono::minutes(30));

    m_world.delegate->startPeriodicCleanup();
    m_world.receive.clock.waitForSleepers(1);
    m_world.receive.clock.advance(std::chrono::minutes(30));
    m_world.cleanup.waitFor(1);
    m_world.delegate->applicationWillTerminate();

    EXPECT_EQ(m_world.cleanup.triggers().size(), 1);
}

TEST_F(Launch, TerminatingLeavesTheListenerAlone)
{
    m_world.finishSetup();
    m_world.delegate->applicationDidFinishLaunching();
    m_world.receive.main.drain();

    m_world.delegate->applicationWillTerminate();

    EXPECT_EQ(m_world.receive.scps.front()->stops(), 0);
    EXPECT_NE(m_world.receive.service->storeListener(), nullptr);
}

TEST(DicomDictionary, IsNamedToTheDicomProgramsWhereOneIsInstalled)
{
    const QTemporaryDir installed;
    ASSERT_TRUE(QDir().mkpath(installed.filePath(u"share/quorin-gateway"_qs)));
    const QString path = installed.filePath(u"share/quorin-gateway/dicom.dic"_qs);
    ASSERT_TRUE(QFile(path).open(QIODevice::WriteOnly));
    qputenv("DCMDICTPATH", "/somebody/elses.dic");

    announceDicomDictionary(installed.filePath(u"bin"_qs));

    EXPECT_EQ(qgetenv("DCMDICTPATH"), QFile::encodeName(path));
}

TEST(DicomDictionary, IsLeftToTheDicomProgramsWhereNoneIsInstalled)
{
    qputenv("DCMDICTPATH", "/somebody/elses.dic");

    announceDicomDictionary(u"/nowhere/bin"_qs);

    EXPECT_EQ(qgetenv("DCMDICTPATH"), "");
    EXPECT_TRUE(qEnvironmentVariableIsSet("DCMDICTPATH"));
}

} // namespace
} // namespace gateway::app
