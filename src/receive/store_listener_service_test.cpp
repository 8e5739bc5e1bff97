#include "receive/store_listener_service.h"

#include "log/writing/redaction.h"
#include "platform/files/testing/silent_folder.h"
#include "receive/folder_bookmark.h"
#include "receive/testing/receive_world.h"

#include <gtest/gtest.h>

namespace gateway::receive {
namespace {

using log::GatewayLogAction;
using log::GatewayLogOutcome;
using testing::ReceiveWorld;
using Told = testing::RecordingReceiveObserver::Told;

class ListenerService : public ::testing::Test
{
protected:
    QString detail(const log::GatewayLogEvent &event, const QString &key)
    {
        return event.details.value_or(QMap<QString, QString>()).value(key);
    }

    /// The last event of an action; there must be one.
    log::GatewayLogEvent last(GatewayLogAction action)
    {
        const auto events = m_world.log.events(action);
        EXPECT_FALSE(events.empty());
        return events.empty() ? log::GatewayLogEvent() : events.back();
    }

    /// The runs that haven't come to their end: a run whose end is silent shows it in no other way.
    static int threadsOfRuns()
    {
        int threads = 0;
        const QDir tasks(u"/proc/self/task"_qs);
        for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile name(tasks.filePath(task + u"/comm"_qs));
            threads += name.open(QIODevice::ReadOnly) && name.readAll() == "listener\n" ? 1 : 0;
        }
        return threads;
    }

    ReceiveWorld m_world;
};

TEST_F(ListenerService, StartsTheReceiverWithItsSettings)
{
    m_world.configure([](core::DCMListenerSettings &settings) {
        settings.aeTitle = u"GATE"_qs;
        settings.port = 11112;
        settings.timeout = std::chrono::seconds(45);
        settings.verifyPeer = true;
    });

    m_world.service->startListener();

    ASSERT_EQ(m_world.scps.size(), 1U);
    const platform::StoreSCPConfig config = m_world.scps.front()->config();
    EXPECT_EQ(config.aeTitle, u"GATE"_qs);
    EXPECT_EQ(config.port, 11112);
    EXPECT_EQ(config.timeout, std::chrono::seconds(45));
    EXPECT_EQ(config.bindAddress, u"127.0.0.1"_qs);
    EXPECT_EQ(config.securityProfile, 1);
    EXPECT_FALSE(config.secureConnection);
    EXPECT_FALSE(config.doAuthenticate);
    EXPECT_FALSE(config.verifyPeerCert);
    EXPECT_FALSE(config.incomingPath.has_value());
    EXPECT_EQ(m_world.service->storeListener(), m_world.scps.front());
    EXPECT_EQ(m_world.stateChanges, 1);
    EXPECT_EQ(detail(last(GatewayLogAction::listenerStartRequested), u"port"_qs), u"11112"_qs);
}

TEST_F(ListenerService, RefusesNoAssociationAndCancelsNone)
{
    m_world.service->startListener();
    const platform::StoreSCPCallbacks callbacks = m_world.scps.front()->callbacks();

    EXPECT_TRUE(callbacks.shouldAcceptAssoc());
    EXPECT_FALSE(callbacks.isCancelled(u"association"_qs));
    callbacks.incomingData();
}

TEST_F(ListenerService, SkipsASecondStartWhileItListens)
{
    m_world.service->startListener();

    m_world.service->startListener();

    EXPECT_EQ(m_world.scps.size(), 1U);
    const auto event = last(GatewayLogAction::listenerStartRequested);
    EXPECT_EQ(event.outcome, GatewayLogOutcome::skipped);
    EXPECT_EQ(detail(event, u"reason"_qs), u"already_listening"_qs);
}

TEST_F(ListenerService, MakesNoReceiverWhileItIsDisabled)
{
    m_world.configure([](core::DCMListenerSettings &settings) { settings.isEnabled = false; });

    m_world.service->startListener();

    EXPECT_TRUE(m_world.scps.empty());
    EXPECT_EQ(m_world.stateChanges, 0);
    const auto event = last(GatewayLogAction::listenerStartRequested);
    EXPECT_EQ(event.outcome, GatewayLogOutcome::skipped);
    EXPECT_EQ(detail(event, u"reason"_qs), u"listener_disabled"_qs);
}

TEST_F(ListenerService, CountsAnAbsentSwitchAsOn)
{
    m_world.configure([](core::DCMListenerSettings &settings) { settings.isEnabled = std::nullopt; });

    m_world.service->startListener();

    EXPECT_EQ(m_world.scps.size(), 1U);
}

TEST_F(ListenerService, TellsEverybodyOfAStopWithoutAListener)
{
    m_world.service->stopListener();

    EXPECT_EQ(m_world.stateChanges, 1);
    const auto event = last(GatewayLogAction::listenerStopped);
    EXPECT_EQ(event.outcome, GatewayLogOutcome::skipped);
    EXPECT_EQ(detail(event, u"had_active_listener"_qs), u"false"_qs);
    m_world.settle();
    EXPECT_EQ(m_world.state.clearings, 1);
}

TEST_F(ListenerService, StopsTheReceiverAndClearsWhatItWasReceiving)
{
    m_world.service->startListener();
    const auto callbacks = m_world.scps.front()->callbacks();
    callbacks.started(u"peer"_qs, u"A"_qs);

    m_world.service->stopListener();
    m_world.settle();

    EXPECT_EQ(m_world.scps.front()->stops(), 1);
    EXPECT_EQ(m_world.service->storeListener(), nullptr);
    EXPECT_TRUE(m_world.state.associations.isEmpty());
    const auto event = last(GatewayLogAction::listenerStopped);
    EXPECT_EQ(event.outcome, GatewayLogOutcome::completed);
    EXPECT_EQ(detail(event, u"had_active_listener"_qs), u"true"_qs);
    EXPECT_EQ(m_world.log.count(GatewayLogAction::listenerStartSucceeded), 0U);
    EXPECT_EQ(m_world.log.count(GatewayLogAction::listenerStartFailed), 0U);
}

TEST_F(ListenerService, TellsTheLiveFiguresWhetherItListensBeforeAnybodyElse)
{
    std::vector<bool> known;
    const auto observer =
        m_world.notifications.observe(core::kStoreListenerStateChanged, [&](const QVariantMap &) {
            known.push_back(m_world.state.isListening);
        });

    m_world.service->startListener();
    m_world.service->stopListener();
    m_world.service->startListener();
    m_world.scps.back()->end(7);
    m_world.waitUntil([&] { return !m_world.errors.isEmpty(); });

    EXPECT_EQ(known, (std::vector<bool>{true, false, true, false}));
}

TEST_F(ListenerService, NamesThePortOfAFailedStartAndListensNoMore)
{
    m_world.configure([](core::DCMListenerSettings &settings) { settings.port = 104; });
    m_world.service->startListener();

    m_world.scps.front()->end(7);
    m_world.waitUntil([&] { return !m_world.errors.isEmpty(); });

    EXPECT_EQ(m_world.errors,
              QStringList{u"Failed to start DIMSE listener on port 104. Another app may already be using "
                          "this port."_qs});
    EXPECT_EQ(m_world.service->storeListener(), nullptr);
    EXPECT_FALSE(m_world.service->isAnnounced());
    EXPECT_EQ(m_world.netServices.live, 0);
    EXPECT_EQ(m_world.stateChanges, 2);
    const auto event = last(GatewayLogAction::listenerStartFailed);
    EXPECT_EQ(event.level, log::GatewayLogLevel::error);
    EXPECT_EQ(detail(event, u"port"_qs), u"104"_qs);
    EXPECT_EQ(detail(event, u"listener_result"_qs), u"7"_qs);
    EXPECT_TRUE(event.error.has_value());
    EXPECT_EQ(m_world.observer.told(), Told{.listenerFailures = 1});
}

TEST_F(ListenerService, LogsAStartCallThatEndsWellByItself)
{
    m_world.service->startListener();

    m_world.scps.front()->end(0);
    m_world.waitUntil([&] { return m_world.log.count(GatewayLogAction::listenerStartSucceeded) == 1; });

    EXPECT_TRUE(m_world.errors.isEmpty());
    EXPECT_NE(m_world.service->storeListener(), nullptr);
}

TEST_F(ListenerService, GivesARestartARunOfItsOwnAndLetsTheOldOneEndInSilence)
{
    m_world.service->startListener();
    m_world.scps.front()->callbacks();
    m_world.scps.front()->stayWhenStopped();

    m_world.service->stopListener();
    m_world.service->startListener();
    m_world.scps.back()->callbacks();
    m_world.scps.front()->end(9);
    m_world.waitUntil([] { return threadsOfRuns() == 1; });
    EXPECT_EQ(m_world.log.count(GatewayLogAction::listenerStartFailed), 0U);
    EXPECT_EQ(m_world.service->storeListener(), m_world.scps.back());
    m_world.service->stopListener();
    m_world.waitUntil([] { return threadsOfRuns() == 0; });

    EXPECT_EQ(m_world.scps.size(), 2U);
    EXPECT_TRUE(m_world.errors.isEmpty());
    EXPECT_EQ(m_world.log.count(GatewayLogAction::listenerStartFailed), 0U);
    EXPECT_EQ(m_world.log.count(GatewayLogAction::listenerStartSucceeded), 0U);
}

TEST_F(ListenerService, LeavesARestartedListenerAloneWhenTheOldOnesFailureComesLate)
{
    m_world.service->startListener();
    m_world.scps.front()->callbacks();
    m_world.scps.front()->end(9);
    while (m_world.log.count(GatewayLogAction::listenerStartFailed) == 0) {
        std::this_thread::yield(); // the failure waits for its turn on the main thread
    }

    m_world.service->stopListener();
    m_world.service->startListener();
    m_world.main.drain();

    EXPECT_EQ(m_world.service->storeListener(), m_world.scps.back());
    EXPECT_TRUE(m_world.errors.isEmpty());
}

TEST_F(ListenerService, FollowsAssociationsInLogAndFigures)
{
    m_world.service->startListener();
    const auto callbacks = m_world.scps.front()->callbacks();

    callbacks.started(u"peer"_qs, u"A"_qs);
    callbacks.started(u"peer"_qs, u"B"_qs);
    callbacks.complete(u"A"_qs);
    callbacks.failed(u"B"_qs, u"connection lost"_qs);
    m_world.main.drain();

    EXPECT_EQ(m_world.log.count(GatewayLogAction::associationStarted), 2U);
    const auto completed = last(GatewayLogAction::associationCompleted);
    EXPECT_EQ(completed.category, log::GatewayLogCategory::receive);
    EXPECT_EQ(completed.assocHash, log::hashedIdentifier(u"A"_qs));
    const auto failed = last(GatewayLogAction::associationFailed);
    EXPECT_EQ(failed.level, log::GatewayLogLevel::error);
    EXPECT_EQ(failed.assocHash, log::hashedIdentifier(u"B"_qs));
    EXPECT_TRUE(failed.error.has_value());
    EXPECT_TRUE(m_world.state.associations.isEmpty());
    EXPECT_EQ(m_world.observer.told(), (Told{.started = 2, .failed = 1}));
}

TEST_F(ListenerService, LogsNoAssociationOfAStoppedRunAndEndsClear)
{
    m_world.service->startListener();
    const auto scp = m_world.scps.front();
    const auto callbacks = scp->callbacks();
    scp->stayWhenStopped();
    callbacks.started(u"peer"_qs, u"A"_qs);

    m_world.service->stopListener();
    callbacks.failed(u"A"_qs, u"stopped"_qs);
    callbacks.started(u"peer"_qs, u"B"_qs);
    callbacks.complete(u"B"_qs);
    m_world.settle();

    EXPECT_EQ(m_world.log.count(GatewayLogAction::associationStarted), 1U) << "the one before the stop";
    EXPECT_EQ(m_world.log.count(GatewayLogAction::associationFailed), 0U);
    EXPECT_EQ(m_world.log.count(GatewayLogAction::associationCompleted), 0U);
    EXPECT_TRUE(m_world.state.associations.isEmpty());
    EXPECT_EQ(m_world.state.clearings, 1);
}

TEST_F(ListenerService, ImportsADeliveredFile)
{
    m_world.service->startListener();
    const QString path = m_world.receivedFile("DICM one");

    m_world.scps.front()->callbacks().progress(1.0, {}, path, u"A"_qs);
    m_world.settle();

    EXPECT_TRUE(m_world.imports.holds("DICM one"));
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_EQ(m_world.uploadRequests, 1);
    EXPECT_EQ(m_world.state.receivedItems, 1);
    EXPECT_EQ(m_world.state.refreshes, 1);
}

TEST_F(ListenerService, ImportsWhatAnEarlierRunLeftInTheInbox)
{
    m_world.receivedFile("DICM left", 1);
    m_world.receivedFile("DICM too", 2);

    m_world.service->startListener();
    m_world.scps.front()->callbacks();
    m_world.settle();

    EXPECT_TRUE(m_world.imports.holds("DICM left"));
    EXPECT_TRUE(m_world.imports.holds("DICM too"));
    EXPECT_TRUE(ReceiveWorld::filesIn(m_world.inbox()).isEmpty());
}

TEST_F(ListenerService, TellsOfAnInterruptionInTheLogAndListensOn)
{
    m_world.configure([](core::DCMListenerSettings &settings) { settings.port = 11112; });
    m_world.service->startListener();
    const auto callbacks = m_world.scps.front()->callbacks();

    callbacks.interrupted({platform::StoreSCPInterruption::Cause::ended,
                           137,
                           u"It was ended."_qs,
                           std::chrono::milliseconds(200)});
    m_world.settle();
    EXPECT_EQ(m_world.service->interruption(), u"It was ended."_qs);
    callbacks.resumed();
    m_world.settle();

    const auto stopped = last(GatewayLogAction::listenerStopped);
    EXPECT_EQ(stopped.outcome, GatewayLogOutcome::failed);
    EXPECT_EQ(stopped.level, log::GatewayLogLevel::error);
    EXPECT_EQ(detail(stopped, u"reason"_qs), u"process_ended"_qs);
    EXPECT_EQ(detail(stopped, u"listener_result"_qs), u"137"_qs);
    EXPECT_EQ(detail(stopped, u"restart_in_ms"_qs), u"200"_qs);
    EXPECT_EQ(detail(last(GatewayLogAction::listenerStartSucceeded), u"reason"_qs), u"after_interruption"_qs);
    EXPECT_TRUE(m_world.errors.isEmpty()) << "nothing is told about a port";
    EXPECT_NE(m_world.service->storeListener(), nullptr);
    EXPECT_EQ(m_world.service->interruption(), std::nullopt);
}

TEST_F(ListenerService, TellsWhenItsPortIsBoundAndNotBefore)
{
    using state::ListenerState;
    m_world.service->startListener();
    m_world.settle();
    const int told = m_world.stateChanges;
    EXPECT_EQ(m_world.service->state(), ListenerState::starting);

    m_world.scps.front()->listen();
    m_world.settle();

    EXPECT_EQ(m_world.service->state(), ListenerState::listening);
    EXPECT_EQ(m_world.stateChanges, told + 1);
}

TEST_F(ListenerService, AnInterruptedListenerThatIsStoppedIsStoppedAndNothingElse)
{
    m_world.service->startListener();
    const auto callbacks = m_world.scps.front()->callbacks();
    callbacks.interrupted({platform::StoreSCPInterruption::Cause::ended, 137, u"It was ended."_qs, {}});

    m_world.service->stopListener();
    m_world.settle();

    EXPECT_EQ(m_world.service->interruption(), std::nullopt);
}

TEST_F(ListenerService, ImportsWhatAReceiverThatDiedCouldNotTell)
{
    m_world.service->startListener();
    const auto callbacks = m_world.scps.front()->callbacks();
    m_world.settle();
    m_world.receivedFile("DICM untold");

    callbacks.leftFiles();
    m_world.settle();

    EXPECT_TRUE(m_world.imports.holds("DICM untold"));
    EXPECT_TRUE(ReceiveWorld::filesIn(m_world.inbox()).isEmpty());
}

TEST_F(ListenerService, TellsWhoWasTurnedAwayWithoutAnAddress)
{
    m_world.service->startListener();

    m_world.scps.front()->callbacks().turnedAway({u"object_too_slow"_qs, u"10.0.0.9"_qs, 7});
    m_world.settle();

    const auto event = last(GatewayLogAction::associationFailed);
    EXPECT_EQ(event.outcome, GatewayLogOutcome::skipped);
    EXPECT_EQ(detail(event, u"reason"_qs), u"object_too_slow"_qs);
    EXPECT_EQ(detail(event, u"turned_away"_qs), u"7"_qs);
    EXPECT_EQ(detail(event, u"host_hash"_qs), log::hashedIdentifier(u"10.0.0.9"_qs));
    for (const QString &value : *event.details) {
        EXPECT_FALSE(value.contains(u"10.0.0.9"_qs));
    }
    EXPECT_EQ(m_world.observer.told(), (Told{.turnedAway = {{u"object_too_slow"_qs, 7}}}));
}

TEST_F(ListenerService, SaysWhenTheReceiverNamesAFileThatIsNotItsOwn)
{
    m_world.service->startListener();

    m_world.scps.front()->callbacks().misnamed(u"A"_qs);
    m_world.settle();

    const auto event = last(GatewayLogAction::fileReceivedCallback);
    EXPECT_EQ(event.outcome, GatewayLogOutcome::failed);
    EXPECT_EQ(detail(event, u"reason"_qs), u"not_a_file_of_the_inbox"_qs);
    EXPECT_EQ(m_world.imports.attempts(), 0);
    EXPECT_EQ(m_world.observer.told(), Told());
}

TEST_F(ListenerService, ImportsAFileOnceThatIsFoundAndDelivered)
{
    const QString path = m_world.receivedFile("DICM twice");

    m_world.service->startListener();
    m_world.scps.front()->callbacks().progress(1.0, {}, path, u"A"_qs);
    m_world.settle();

    EXPECT_EQ(m_world.imports.attempts(), 1);
    EXPECT_EQ(m_world.log.count(GatewayLogAction::importFailed), 0U);
}

TEST_F(ListenerService, AnnouncesItselfWithEightKeys)
{
    m_world.configure([](core::DCMListenerSettings &settings) {
        settings.aeTitle = u" GATE "_qs;
        settings.port = 11112;
    });

    m_world.service->startListener();

    ASSERT_EQ(m_world.netServices.announcements.size(), 1);
    const auto &announced = m_world.netServices.announcements.front();
    EXPECT_EQ(announced.name, u"GATE"_qs);
    EXPECT_EQ(announced.type, u"_dicom._tcp."_qs);
    EXPECT_EQ(announced.port, 11112);
    EXPECT_EQ(announced.txt.size(), 8);
    m_world.service->stopListener();
    EXPECT_EQ(m_world.netServices.live, 0);
}

TEST_F(ListenerService, AnnouncesNothingWhenToldSoAndListensAllTheSame)
{
    m_world.configure([](core::DCMListenerSettings &settings) { settings.advertiseWithBonjour = false; });

    m_world.service->startListener();

    EXPECT_TRUE(m_world.netServices.announcements.isEmpty());
    EXPECT_NE(m_world.service->storeListener(), nullptr);
}

TEST_F(ListenerService, AnnouncesNothingUnderABlankTitleAndListensAllTheSame)
{
    m_world.configure([](core::DCMListenerSettings &settings) { settings.aeTitle = u"   "_qs; });

    m_world.service->startListener();

    EXPECT_TRUE(m_world.netServices.announcements.isEmpty());
    EXPECT_NE(m_world.service->storeListener(), nullptr);
}

TEST_F(ListenerService, ReceivesIntoTheChosenFolder)
{
    const QString folder = m_world.path(u"chosen"_qs);
    ASSERT_TRUE(QDir().mkpath(folder));
    m_world.settings.listenerDestinationFolder.set(folder);
    m_world.settings.listenerDestinationFolderBookmark.set(makeFolderBookmark(folder));

    m_world.service->startListener();

    EXPECT_EQ(m_world.scps.front()->config().incomingPath, folder);
}

TEST_F(ListenerService, KeepsTheFolderInMindInWhichItReceivedBefore)
{
    m_world.service->startListener();
    m_world.scps.back()->config();
    m_world.service->stopListener();
    m_world.settings.listenerDestinationFolder.set(m_world.path(u"chosen"_qs));

    m_world.service->startListener();
    m_world.scps.back()->config();

    EXPECT_EQ(m_world.incomingFolders.all(), (QStringList{m_world.path(u"chosen"_qs), m_world.inbox()}));
}

TEST_F(ListenerService, DoesNotStartInAFolderOfAnotherGatewayAndSaysSo)
{
    platform::UserDefaults defaults(m_world.path(u"others.sqlite"_qs));
    core::Settings settings(defaults);
    {
        IncomingFolders others(defaults, settings, {m_world.inbox(), m_world.path(u"others"_qs)});
        ASSERT_EQ(others.enter(m_world.inbox()), std::nullopt);

        m_world.service->startListener();
        m_world.waitUntil([this] { return !m_world.errors.isEmpty(); });

        EXPECT_FALSE(m_world.scps.back()->hasStarted());
        EXPECT_EQ(m_world.service->state(), state::ListenerState::failed);
        EXPECT_EQ(m_world.service->storeListener(), nullptr);
        ASSERT_EQ(m_world.errors.size(), 1);
        EXPECT_TRUE(m_world.errors.front().startsWith(u"The incoming folder is used by another gateway"_qs));
    }

    m_world.service->startListener();

    EXPECT_EQ(m_world.scps.back()->config().port, 1115);
}

TEST_F(ListenerService, WaitsForAFolderThatDoesNotAnswerAwayFromTheMainThread)
{
    const platform::testing::SilentFolder silent(m_world.inbox() + u"/.part"_qs);

    m_world.service->startListener();
    EXPECT_EQ(m_world.service->state(), state::ListenerState::starting);
    m_world.service->stopListener();
    m_world.settings.listenerDestinationFolder.set(m_world.path(u"chosen"_qs));
    m_world.service->startListener();

    EXPECT_EQ(m_world.scps.back()->config().incomingPath, m_world.path(u"chosen"_qs));
    EXPECT_FALSE(m_world.scps.front()->hasStarted());
}

TEST_F(ListenerService, LetsTheReceiverGoOnBehindAllThatIsRecorded)
{
    m_world.newestAcknowledged = 7000;
    m_world.service->startListener();
    EXPECT_EQ(m_world.scps.front()->config().acknowledgeAfter, 7000);

    m_world.newestAcknowledged = 8000; // by an import
    m_world.service->keepOrder();
    m_world.settle();

    EXPECT_EQ(m_world.scps.front()->order(), 8000);
}

TEST_F(ListenerService, RefreshesAStaleBookmark)
{
    const QString folder = m_world.path(u"chosen"_qs);
    ASSERT_TRUE(QDir().mkpath(folder));
    m_world.settings.listenerDestinationFolderBookmark.set((folder + u"/../chosen/"_qs).toUtf8());

    m_world.service->startListener();

    EXPECT_EQ(m_world.scps.front()->config().incomingPath, folder);
    EXPECT_EQ(m_world.settings.listenerDestinationFolderBookmark.get(), folder.toUtf8());
}

TEST_F(ListenerService, StartsWithThePlainPathWhenTheFolderHasGone)
{
    const QString gone = m_world.path(u"gone"_qs);
    m_world.settings.listenerDestinationFolder.set(gone);
    m_world.settings.listenerDestinationFolderBookmark.set(gone.toUtf8());

    m_world.service->startListener();

    EXPECT_EQ(m_world.scps.front()->config().incomingPath, gone);
    const auto event = last(GatewayLogAction::listenerIncomingPathResolutionFailed);
    EXPECT_EQ(event.level, log::GatewayLogLevel::warning);
    EXPECT_EQ(event.outcome, GatewayLogOutcome::failed);
    EXPECT_TRUE(event.error.has_value());
}

} // namespace
} // namespace gateway::receive
