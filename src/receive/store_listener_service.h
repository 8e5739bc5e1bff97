#pragma once

#include "core/dcm_listener_settings.h"
#include "core/settings.h"
#include "index/db_service.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/task.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "platform/dicom/store_scp.h"
#include "platform/net_service/net_service_publishing.h"
#include "platform/notifications/notification_center.h"
#include "receive/incoming_folders.h"
#include "receive/incoming_importer.h"
#include "receive/listener_folder.h"
#include "receive/listener_log.h"
#include "receive/receive_observer.h"
#include "state/listener_figures.h"
#include "state/receive_state.h"

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QUuid>

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <vector>

namespace gateway::receive {

/// User information of core::kStoreListenerError besides its message: why the receiver says it failed, a
/// platform::Sentence, perhaps empty.
inline const QString kListenerFailureReasonKey = QStringLiteral("reason");

/// User information of core::kStoreListenerError besides its message: true where the listener tried again by
/// itself and failed as before, so that people know already.
inline const QString kListenerFailureIsKnownKey = QStringLiteral("isKnown");

/// The gateway's network door: runs the DICOM listener, announces it on the local network, and sees to each
/// file that arrives.
///
/// Every start has a run id of its own, so that late callbacks and the late end of a run can tell a stop on
/// purpose from a failure.
///
/// Owner: Store, as a shared pointer, since callbacks hold the service weakly. Thread: `startListener`,
/// `stopListener` and the accessors on main; callbacks of the receiver on any.
class StoreListenerService : public std::enable_shared_from_this<StoreListenerService>
{
public:
    struct Collaborators
    {
        platform::UserDefaults &defaults;
        core::Settings &settings;
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        platform::WorkerPool &pool; ///< for what lies in incoming folders, each of which may hang
        platform::Clock &clock;
        index::DBServiceProtocol &dbService;
        log::StoreLogEmitter &logEmitter;
        ReceiveObserver &observer;
        state::ReceiveState &state;
        platform::NetServicePublishing &netServices;
        IncomingFolders &incomingFolders;
        std::function<std::shared_ptr<platform::StoreSCP>()> makeStoreSCP; ///< a new one for each start
        std::function<void(QString)> onImportSucceeded;                    ///< any thread

        /// When the last image that is recorded was acknowledged, by whomever: nanoseconds since 1970. Any
        /// thread.
        std::function<std::int64_t()> newestAcknowledged;

        /// As of IncomingImporter::Collaborators.
        std::function<std::optional<bool>(const index::ImportedFileSummary &)> isKept;
    };

    struct Places
    {
        QString defaultIncomingFolder; ///< where the receiver puts files when no folder is configured
        QString bindAddress;           ///< empty for all interfaces
    };

    StoreListenerService(Collaborators collaborators, Places places);
    ~StoreListenerService();

    StoreListenerService(const StoreListenerService &) = delete;
    StoreListenerService &operator=(const StoreListenerService &) = delete;

    /// Starts the listener, unless it is disabled in its settings or runs already. Returns at once, whether
    /// the incoming folder answers or not; a failure arrives as the notification
    /// "QuorinGateway.storeListenerError", and there is no retry. A receiver that had listened and ended is
    /// started again by itself; so is one that was refused for its incoming folder.
    void startListener();

    /// Trouble of a disk that passes leaves no trace in what a look sees: a try is worth it after so long.
    static constexpr std::chrono::minutes kNextTry{5};

    /// Tries again where the last start was refused for its incoming folder, or failed for it, and something
    /// has changed there or `kNextTry` has passed, and starts anew where another folder has come in the place
    /// of the one in use.
    ///
    /// \param sight  what IncomingFolders::lookAtPresent has just found. Main thread.
    void incomingFolderWasSeen(const IncomingFolders::Sight &sight);

    /// Stops the listener; without one it still tells everybody that none runs. Waits for nothing: a start
    /// that follows waits on a thread of its own until the port is free.
    void stopListener();

    /// Stops the listener and waits until its port is free, for some seconds at most: whoever starts in the
    /// place of this program finds it so. Main thread, at the program's end.
    void endListener();

    /// Takes a complete file that was found in the inbox, unless it is in hand already. Any thread but main:
    /// asks the disk where it was taken in before.
    ///
    /// \return false where only its removal is tried again.
    bool offerInboxFile(const QString &path)
    {
        m_importer->fileFound(path);
        return !awaitsRemoval(path);
    }

    /// Whether a file in the inbox was taken in and is only still to be removed. Any thread but main.
    bool awaitsRemoval(const QString &path) const { return m_importer->awaitsRemoval(path); }

    /// Sees to it that what is received from now on counts as acknowledged later than all that is recorded by
    /// now. To be called when something was recorded that the receiver didn't acknowledge. Returns at once;
    /// any thread.
    void keepOrder();

    /// The receiver, present from the order to listen on until the stop, or until its start has failed.
    const std::shared_ptr<platform::StoreSCP> &storeListener() const { return m_storeListener; }

    /// How it stands at this moment. Each change posts "QuorinGateway.storeListenerStateChanged". Main
    /// thread.
    state::ListenerState state() const;

    /// Why nobody can send at present although the receiver is there: its process ended, and comes back by
    /// itself. Without it all is well. Main thread.
    const std::optional<platform::Sentence> &interruption() const { return m_interruption; }

    /// The one address that the listener binds; empty for all.
    const QString &bindAddress() const { return m_places.bindAddress; }

    /// True while the listener is announced on the local network.
    bool isAnnounced() const { return m_bonjourService != nullptr; }

private:
    /// Receivers that were stopped: one of them may still have the port. Gone with the thread that ran them.
    using FormerListeners = std::vector<std::weak_ptr<platform::StoreSCP>>;

    struct Run
    {
        QUuid id;
        std::shared_ptr<platform::StoreSCP> scp;
        platform::StoreSCPConfig config;
        QString inbox;
        QString standing;       // of the inbox when it was entered
        FormerListeners former; // those before it
    };

    /// What of the incoming folder was in the way of a start.
    struct Refusal
    {
        platform::Sentence why;
        QString standing;                 // of the folder then
        bool isSeenByLooks;               // or only by whoever tries to work there
        std::chrono::nanoseconds nextTry; // by the clock that nobody sets
    };

    // Steps of a start, on main.
    void start();
    void tellWhetherListening();
    bool mayStart(const core::DCMListenerSettings &settings);
    QUuid beginRun();
    void publishBonjourService(const core::DCMListenerSettings &settings);
    void launch(Run run);

    // The run itself, on its own thread.
    static bool enterFolder(const std::weak_ptr<StoreListenerService> &weak,
                            const ListenerFolder &folder,
                            IncomingImporter &importer,
                            Run &run);
    static void perform(const std::weak_ptr<StoreListenerService> &weak, const Run &run);
    static void awaitFreePort(const FormerListeners &former);
    platform::StoreSCPCallbacks callbacksFor(const Run &run);
    void runEnded(const Run &run, std::int32_t result);
    void retireRun(QUuid runId) QUORIN_EXCLUDES(m_listenerRunStateLock);
    bool wasStopped(QUuid runId) QUORIN_EXCLUDES(m_listenerRunStateLock);
    bool endStart(const Run &run);
    void startFailed(const Run &run, bool isOfFolder);
    bool isWorthATry(const IncomingFolders::Sight &sight) const;
    void refuseStart(const Run &run, const ListenerFolder::Entered::Obstacle &obstacle);
    void tellRefusal(const Run &run, const platform::Sentence &why, bool isSeenByLooks);

    // The receiver's own events, on any thread.
    void listeningBegan(QUuid runId);
    void listeningInterrupted(QUuid runId, int port, const platform::StoreSCPInterruption &interruption);
    void listeningResumed(QUuid runId, int port);
    void tellInterruption(QUuid runId, std::optional<platform::Sentence> interruption);
    void fileMisnamed(QUuid runId, const QString &association);
    void peersTurnedAway(QUuid runId, const platform::StoreSCPTurnedAway &away);

    // Association events, on any thread.
    void associationStarted(QUuid runId, const QString &association);
    void associationCompleted(QUuid runId, const QString &association);
    void associationFailed(QUuid runId, const QString &association, const QString &message);
    void endAssociation(const QString &association);

    Collaborators m_collaborators;
    Places m_places;
    ListenerLog m_log;
    std::shared_ptr<IncomingImporter> m_importer;
    std::shared_ptr<const ListenerFolder> m_folder;

    // Main thread only.
    std::shared_ptr<platform::StoreSCP> m_storeListener;
    FormerListeners m_formerListeners;
    std::optional<platform::Sentence> m_interruption;
    bool m_hasFailed = false;         // the last start
    std::optional<Refusal> m_refusal; // of the last start; kept while it is tried again
    std::unique_ptr<platform::NetServicePublication> m_bonjourService;

    platform::Mutex m_listenerRunStateLock;
    std::optional<QUuid> m_currentListenerRunId QUORIN_GUARDED_BY(m_listenerRunStateLock);
    QSet<QUuid> m_stopRequestedListenerRunIDs QUORIN_GUARDED_BY(m_listenerRunStateLock);

    // Main thread only. A start call keeps its thread for the whole run, so each run has its own; a run that
    // was stopped ends by itself a little later.
    struct RunThread
    {
        std::shared_ptr<std::atomic<bool>> ended;
        platform::Task task;
    };
    std::list<RunThread> m_runs; // last: the threads use the fields above
};

} // namespace gateway::receive
