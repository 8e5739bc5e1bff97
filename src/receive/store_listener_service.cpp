#include "receive/store_listener_service.h"

#include "core/notification_names.h"
#include "receive/bonjour_record.h"
#include "receive/inbox.h"
#include "receive/listener_config.h"

#include <chrono>
#include <utility>

namespace gateway::receive {

using platform::StoreSCPInterruption;

StoreListenerService::StoreListenerService(Collaborators collaborators, Places places)
    : m_collaborators(std::move(collaborators)), m_places(std::move(places)),
      m_log(m_collaborators.logEmitter),
      m_importer(std::make_shared<IncomingImporter>(
          IncomingImporter::Collaborators{m_collaborators.dbService,
                                          m_collaborators.logEmitter,
                                          m_collaborators.observer,
                                          m_collaborators.state,
                                          m_collaborators.main,
                                          m_collaborators.pool,
                                          m_collaborators.clock,
                                          m_collaborators.onImportSucceeded,
                                          m_collaborators.isKept})),
      m_folder(std::make_shared<const ListenerFolder>(m_collaborators.settings,
                                                      m_collaborators.incomingFolders,
                                                      m_collaborators.logEmitter,
                                                      m_places.defaultIncomingFolder))
{
}

StoreListenerService::~StoreListenerService()
{
    if (m_storeListener) {
        m_storeListener->stop(); // or its thread would never be joined
    }
}

void StoreListenerService::startListener()
{
    Q_ASSERT(m_collaborators.main.isCurrent());
    m_refusal.reset();
    start();
}

void StoreListenerService::start()
{
    const core::DCMListenerSettings settings = core::DCMListenerSettings::load(m_collaborators.defaults);
    if (!mayStart(settings)) {
        return;
    }
    Run run{beginRun(),
            m_collaborators.makeStoreSCP(),
            listenerConfig(settings, m_places.bindAddress),
            {},
            {},
            m_formerListeners};
    m_storeListener = run.scp;
    m_interruption.reset();
    m_hasFailed = false;
    publishBonjourService(settings);
    tellWhetherListening();
    launch(std::move(run));
}

state::ListenerState StoreListenerService::state() const
{
    if (!m_storeListener) {
        return m_hasFailed ? state::ListenerState::failed : state::ListenerState::stopped;
    }
    if (m_interruption) {
        return state::ListenerState::restarting;
    }
    return m_storeListener->boundPort() ? state::ListenerState::listening : state::ListenerState::starting;
}

void StoreListenerService::tellWhetherListening()
{
    m_collaborators.state.setListening(m_storeListener != nullptr);
    m_collaborators.notifications.post(core::kStoreListenerStateChanged);
}

bool StoreListenerService::mayStart(const core::DCMListenerSettings &settings)
{
    const auto skip = [&](const QString &reason) {
        m_log.startSkipped(settings.port, reason);
        return false;
    };
    m_log.startRequested(settings.port);
    if (!settings.isEnabled.value_or(true)) {
        return skip(QStringLiteral("listener_disabled"));
    }
    if (m_storeListener) {
        return skip(QStringLiteral("already_listening"));
    }
    return true;
}

QUuid StoreListenerService::beginRun()
{
    const QUuid id = QUuid::createUuid();
    const platform::MutexLock lock(m_listenerRunStateLock);
    m_currentListenerRunId = id;
    m_stopRequestedListenerRunIDs.remove(id);
    return id;
}

void StoreListenerService::publishBonjourService(const core::DCMListenerSettings &settings)
{
    m_bonjourService.reset();
    if (const auto record = bonjourRecord(settings)) {
        m_bonjourService = m_collaborators.netServices.publish(*record);
    }
}

void StoreListenerService::launch(Run run)
{
    m_runs.remove_if([](const RunThread &thread) { return thread.ended->load(); });
    auto ended = std::make_shared<std::atomic<bool>>(false);
    platform::Task task(
        "listener",
        [weak = weak_from_this(), folder = m_folder, importer = m_importer, run = std::move(run), ended](
            std::stop_token) mutable {
            if (enterFolder(weak, *folder, *importer, run)) {
                perform(weak, run);
            }
            ended->store(true);
        });
    m_runs.push_back({std::move(ended), std::move(task)});
}

/// The folder may lie on a share that doesn't answer: this thread waits for it and nobody else, and the
/// service isn't held meanwhile.
///
/// \return whether the run may go on.
bool StoreListenerService::enterFolder(const std::weak_ptr<StoreListenerService> &weak,
                                       const ListenerFolder &folder,
                                       IncomingImporter &importer,
                                       Run &run)
{
    ListenerFolder::Entered entered = folder.enter([&weak, &run] {
        const auto self = weak.lock();
        return self && !self->wasStopped(run.id);
    });
    run.config.incomingPath = std::move(entered.path);
    run.config.incomingFolderId = std::move(entered.id);
    run.inbox = std::move(entered.inbox);
    run.standing = std::move(entered.standing);
    if (!entered.obstacle) {
        importer.lookInto(run.inbox);
    }
    const auto self = weak.lock();
    if (!self) {
        return false;
    }
    if (self->wasStopped(run.id)) {
        self->retireRun(run.id);
        return false;
    }
    if (entered.obstacle) {
        self->retireRun(run.id);
        self->m_collaborators.main.post(weak, [service = self.get(), run, obstacle = *entered.obstacle] {
            service->refuseStart(run, obstacle);
        });
    }
    return !entered.obstacle;
}

void StoreListenerService::perform(const std::weak_ptr<StoreListenerService> &weak, const Run &run)
{
    platform::StoreSCPCallbacks callbacks;
    platform::StoreSCPConfig config = run.config;
    {
        const auto self = weak.lock();
        if (!self) {
            return;
        }
        config.acknowledgeAfter = self->m_collaborators.newestAcknowledged();
        callbacks = self->callbacksFor(run);
    }
    awaitFreePort(run.former);
    // May keep this thread for the whole run; the service isn't held meanwhile.
    const std::int32_t result = run.scp->start(config, std::move(callbacks));
    if (const auto self = weak.lock()) {
        self->runEnded(run, result);
    }
}

void StoreListenerService::awaitFreePort(const FormerListeners &former)
{
    for (const auto &listener : former) {
        if (const auto present = listener.lock()) {
            present->awaitFreePort();
        }
    }
}

platform::StoreSCPCallbacks StoreListenerService::callbacksFor(const Run &run)
{
    const auto weak = weak_from_this();
    const QUuid runId = run.id;
    platform::StoreSCPCallbacks callbacks;
    callbacks.started = [weak, runId](const QString &, const QString &association) {
        if (const auto self = weak.lock()) {
            self->associationStarted(runId, association);
        }
    };
    callbacks.complete = [weak, runId](const QString &association) {
        if (const auto self = weak.lock()) {
            self->associationCompleted(runId, association);
        }
    };
    callbacks.failed = [weak, runId](const QString &association, const QString &message) {
        if (const auto self = weak.lock()) {
            self->associationFailed(runId, association, message);
        }
    };
    callbacks.progress = [weak](double, const QString &, const QString &path, const QString &association) {
        if (const auto self = weak.lock()) {
            self->m_importer->fileArrived(path, association);
        }
    };
    callbacks.shouldAcceptAssoc = [] { return true; };
    callbacks.incomingData = [] {};
    callbacks.isCancelled = [](const QString &) { return false; };
    callbacks.listening = [weak, runId] {
        if (const auto self = weak.lock()) {
            self->listeningBegan(runId);
        }
    };
    callbacks.interrupted = [weak, runId, port = run.config.port](const StoreSCPInterruption &interruption) {
        if (const auto self = weak.lock()) {
            self->listeningInterrupted(runId, port, interruption);
        }
    };
    callbacks.resumed = [weak, runId, port = run.config.port] {
        if (const auto self = weak.lock()) {
            self->listeningResumed(runId, port);
        }
    };
    callbacks.leftFiles = [weak, inbox = run.inbox] {
        if (const auto self = weak.lock()) {
            self->m_importer->lookInto(inbox);
        }
    };
    callbacks.misnamed = [weak, runId](const QString &association) {
        if (const auto self = weak.lock()) {
            self->fileMisnamed(runId, association);
        }
    };
    callbacks.turnedAway = [weak, runId](const platform::StoreSCPTurnedAway &away) {
        if (const auto self = weak.lock()) {
            self->peersTurnedAway(runId, away);
        }
    };
    return callbacks;
}

void StoreListenerService::keepOrder()
{
    m_collaborators.main.post(weak_from_this(), [this, newest = m_collaborators.newestAcknowledged()] {
        if (m_storeListener) {
            m_storeListener->acknowledgeAfter(newest);
        }
    });
}

void StoreListenerService::runEnded(const Run &run, std::int32_t result)
{
    if (!wasStopped(run.id)) {
        if (result == 0) {
            m_log.startSucceeded(run.config.port);
        } else {
            m_collaborators.observer.listenerFailed();
            m_log.startFailed(run.config.port, result);
            const bool isOfFolder = result == platform::StoreSCP::kFolderRefused;
            if (isOfFolder && contentOf(run.inbox) == InboxContent::nothing) {
                m_collaborators.incomingFolders.takeBack(run.config.incomingFolderId);
            }
            m_collaborators.main.post(weak_from_this(),
                                      [this, run, isOfFolder] { startFailed(run, isOfFolder); });
        }
    }
    retireRun(run.id);
}

bool StoreListenerService::wasStopped(QUuid runId)
{
    const platform::MutexLock lock(m_listenerRunStateLock);
    return m_stopRequestedListenerRunIDs.contains(runId);
}

void StoreListenerService::retireRun(QUuid runId)
{
    const platform::MutexLock lock(m_listenerRunStateLock);
    m_stopRequestedListenerRunIDs.remove(runId);
    if (m_currentListenerRunId == runId) {
        m_currentListenerRunId.reset();
    }
}

/// \return false where the start was stopped, and perhaps begun anew, before its end had its turn.
bool StoreListenerService::endStart(const Run &run)
{
    if (m_storeListener != run.scp) {
        return false;
    }
    m_bonjourService.reset();
    m_storeListener.reset();
    m_hasFailed = true;
    return true;
}

/// Tells that the listener doesn't even try to start.
void StoreListenerService::refuseStart(const Run &run, const ListenerFolder::Entered::Obstacle &obstacle)
{
    if (!endStart(run)) {
        return;
    }
    m_collaborators.observer.listenerFailed();
    m_log.startRefused(obstacle.why);
    tellRefusal(run, obstacle.why, obstacle.isSeenByLooks);
}

void StoreListenerService::tellRefusal(const Run &run, const platform::Sentence &why, bool isSeenByLooks)
{
    const bool isKnown = m_refusal && m_refusal->why == why;
    m_refusal = Refusal{why, run.standing, isSeenByLooks, m_collaborators.clock.monotonic() + kNextTry};
    tellWhetherListening();
    m_collaborators.notifications.post(
        core::kStoreListenerError,
        {{core::kMessageKey, QVariant::fromValue(why)}, {kListenerFailureIsKnownKey, isKnown}});
}

void StoreListenerService::incomingFolderWasSeen(const IncomingFolders::Sight &sight)
{
    Q_ASSERT(m_collaborators.main.isCurrent());
    if (sight.isExchanged && m_storeListener && state() != state::ListenerState::starting) {
        stopListener();
        startListener();
        return;
    }
    const bool isWanted = !core::isSetupRequired(m_collaborators.settings) &&
                          core::DCMListenerSettings::load(m_collaborators.defaults).isEnabled.value_or(true);
    if (isWanted && isWorthATry(sight)) {
        start(); // or tells what is in the way now
    }
}

bool StoreListenerService::isWorthATry(const IncomingFolders::Sight &sight) const
{
    if (!m_refusal || m_storeListener) {
        return false;
    }
    const bool hasPassed = m_refusal->isSeenByLooks && m_refusal->why != sight.obstacle;
    return hasPassed || m_refusal->standing != sight.standing ||
           m_collaborators.clock.monotonic() >= m_refusal->nextTry;
}

/// \param isOfFolder  the receiver couldn't work in its folder, which may change, unlike a port that others
/// have.
void StoreListenerService::startFailed(const Run &run, bool isOfFolder)
{
    if (!endStart(run)) {
        return;
    }
    const platform::Sentence why = run.scp->lastMessage();
    if (isOfFolder) {
        tellRefusal(run, why, false);
        return;
    }
    m_refusal.reset();
    tellWhetherListening();
    m_collaborators.notifications.post(
        core::kStoreListenerError,
        {{core::kMessageKey,
          QVariant::fromValue(platform::Sentence(
              "Listener",
              QT_TRANSLATE_NOOP("Listener",
                                "Failed to start DIMSE listener on port %1. Another app may already be "
                                "using this port."),
              {QString::number(run.config.port)}))},
         {kListenerFailureReasonKey, QVariant::fromValue(why)}});
}

void StoreListenerService::stopListener()
{
    Q_ASSERT(m_collaborators.main.isCurrent());
    const bool hadListener = m_storeListener != nullptr;
    if (hadListener) {
        {
            const platform::MutexLock lock(m_listenerRunStateLock);
            if (m_currentListenerRunId) {
                m_stopRequestedListenerRunIDs.insert(*m_currentListenerRunId);
            }
        }
        m_storeListener->stop();
        std::erase_if(m_formerListeners, [](const auto &former) { return former.expired(); });
        m_formerListeners.push_back(m_storeListener);
    }
    m_storeListener.reset();
    m_interruption.reset();
    m_hasFailed = false;
    m_bonjourService.reset();
    tellWhetherListening();
    m_log.stopped(hadListener);
    m_collaborators.main.post(weak_from_this(), [this] { m_collaborators.state.clearReceiveAssociations(); });
}

void StoreListenerService::endListener()
{
    stopListener();
    awaitFreePort(m_formerListeners);
}

/// The port is bound: from now on modalities can send.
void StoreListenerService::listeningBegan(QUuid runId)
{
    tellInterruption(runId, std::nullopt);
}

/// The receiver's process is gone though nobody stopped it; it comes again by itself.
void StoreListenerService::listeningInterrupted(QUuid runId,
                                                int port,
                                                const StoreSCPInterruption &interruption)
{
    if (wasStopped(runId)) {
        return;
    }
    m_log.interrupted(port, interruption);
    tellInterruption(runId, interruption.message);
}

void StoreListenerService::listeningResumed(QUuid runId, int port)
{
    if (!wasStopped(runId)) {
        m_log.resumed(port);
        tellInterruption(runId, std::nullopt);
    }
}

void StoreListenerService::tellInterruption(QUuid runId, std::optional<platform::Sentence> interruption)
{
    m_collaborators.main.post(weak_from_this(), [this, runId, interruption = std::move(interruption)] {
        if (!wasStopped(runId) && m_storeListener) {
            m_interruption = interruption;
            if (!interruption) {
                m_refusal.reset();
            }
            tellWhetherListening();
        }
    });
}

/// The receiver named a file that isn't one of its own; nothing is taken by that name.
void StoreListenerService::fileMisnamed(QUuid runId, const QString &association)
{
    if (!wasStopped(runId)) {
        m_log.fileMisnamed(association);
    }
}

void StoreListenerService::peersTurnedAway(QUuid runId, const platform::StoreSCPTurnedAway &away)
{
    if (!wasStopped(runId)) {
        m_collaborators.observer.peersTurnedAway(away.reason, away.count);
        m_log.peersTurnedAway(away);
    }
}

void StoreListenerService::associationStarted(QUuid runId, const QString &association)
{
    if (!wasStopped(runId)) {
        m_collaborators.observer.associationStarted();
        m_log.associationStarted(association);
    }
    m_collaborators.main.post(weak_from_this(), [this, association] {
        m_collaborators.state.beginReceiveAssociation(association);
    });
}

void StoreListenerService::associationCompleted(QUuid runId, const QString &association)
{
    if (!wasStopped(runId)) {
        m_log.associationCompleted(association);
    }
    endAssociation(association);
}

void StoreListenerService::associationFailed(QUuid runId, const QString &association, const QString &message)
{
    if (!wasStopped(runId)) {
        m_collaborators.observer.associationFailed();
        m_log.associationFailed(association, message);
    }
    endAssociation(association);
}

void StoreListenerService::endAssociation(const QString &association)
{
    m_collaborators.main.post(
        weak_from_this(), [this, association] { m_collaborators.state.endReceiveAssociation(association); });
}

} // namespace gateway::receive
