#pragma once

#include "index/db_service.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/task.h"
#include "platform/concurrency/worker_pool.h"
#include "receive/folder_lanes.h"
#include "receive/receive_observer.h"
#include "state/receive_state.h"

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace gateway::receive {

/// Takes each received file from the inbox into the index, and out of the inbox.
///
/// A file leaves the inbox only when its rows are durable, or when it is moved aside into `.rejected`,
/// because its sender was told that it is stored. That happens to what was read well and is no DICOM object,
/// and to what could not be read `kTriesInTrouble` times. A file whose import failed for want of storage
/// stays and is tried again without limit. Tries are 30 seconds apart at first and up to 10 minutes later; a
/// file in trouble holds up no other one. A file that is out of sight at its turn is let go of: whoever finds
/// it again offers it again.
///
/// Owner: StoreListenerService. Thread: any.
class IncomingImporter : public std::enable_shared_from_this<IncomingImporter>
{
public:
    struct Collaborators
    {
        index::DBServiceProtocol &dbService;
        log::StoreLogEmitter &logEmitter;
        ReceiveObserver &observer;
        state::ReceiveState &state;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
        std::function<void(QString)> onImportSucceeded; ///< called with the reason, on a worker

        /// Whether what an import wrote is kept without its source; nothing where that can't be told at this
        /// moment. Any thread but main.
        std::function<std::optional<bool>(const index::ImportedFileSummary &)> isKept;
    };

    /// The first and the longest pause before files that found no storage are tried again.
    static constexpr std::chrono::seconds kFirstPause{30};
    static constexpr std::chrono::seconds kLongestPause{600};

    /// About an hour and a half: what can't be read for so long needs a person.
    static constexpr int kTriesInTrouble = 12;

    explicit IncomingImporter(Collaborators collaborators);
    ~IncomingImporter();

    IncomingImporter(const IncomingImporter &) = delete;
    IncomingImporter &operator=(const IncomingImporter &) = delete;

    /// Imports a file that the network has just delivered; queues the work and returns at once.
    ///
    /// \param association  the identifier of the association that it came by.
    void fileArrived(const QString &path, const QString &association);

    /// Imports a complete file that lies in the inbox, unless it is in hand already. May be called again and
    /// again for one file: what has been imported but could not be removed is only removed then, and imported
    /// anew where its stored file has been lost since.
    void fileFound(const QString &path);

    /// Looks for what was acknowledged and isn't imported, as before a crash, of the gateway or of the
    /// receiver, and takes it as found. Returns at once: the folder may not answer.
    void lookInto(const QString &inbox);

    /// Whether a file in the inbox is imported and kept, and only still to be removed from there. One that
    /// was refused and can't be set aside is none: it lies nowhere else. Blocks while a disk is slow.
    bool awaitsRemoval(const QString &path) const QUORIN_EXCLUDES(m_mutex);

private:
    struct Item
    {
        QString path;
        std::optional<QString> assocHash;
        bool found = false; ///< found in the inbox, not delivered by the network
        int troubles = 0;   ///< how often it could not be read
    };

    enum class Fate
    {
        imported,
        refused,   ///< it was read without an error and isn't an image that can be recorded
        trouble,   ///< it could not be read this time
        noStorage, ///< it could not be stored this time, as perhaps no file could
        outOfSight ///< it isn't there, or its folder is away
    };

    /// What came of an import.
    struct Outcome
    {
        Fate fate = Fate::trouble;
        index::ImportedFileSummary imported = {}; ///< of meaning with Fate::imported
    };

    void enqueue(Item item);
    bool takeInHand(const Item &item) QUORIN_EXCLUDES(m_mutex);
    void handle(const Item &item);
    void handleDecided(const Item &item, const Outcome &decided);
    Outcome importFile(const Item &item);
    Fate fateOf(const Item &item, const index::GatewayImportError &error);
    void leaveInbox(Item item, const Outcome &outcome);
    void depart(const Item &item, const Outcome &outcome);
    void keepForRetry(const Item &item);
    void keepOutOfSight(const Item &item);
    void letGo(const Item &item);
    std::optional<Outcome> decidedOn(const QString &path) const;

    /// The files of one folder that are to be tried again, in their order, and the thread that does so: one
    /// that hangs with its share keeps no other folder's.
    struct Retries
    {
        std::deque<Item> waiting = {}; // under m_mutex
        platform::Task task = {};      // last: it uses the field above
    };

    void retryLoop(Retries &files, const std::stop_token &stop);
    bool waitForWork(const Retries &files, const std::stop_token &stop);
    bool retryRound(Retries &files, const std::stop_token &stop);
    std::optional<Item> nextWaiting(Retries &files);
    std::size_t waiting(const Retries &files) const;

    void emitRecord(const Item &item,
                    log::GatewayLogAction action,
                    log::GatewayLogOutcome outcome,
                    log::GatewayLogLevel level = log::GatewayLogLevel::info,
                    std::optional<log::GatewayLogError> error = std::nullopt,
                    QMap<QString, QString> details = {});

    Collaborators m_collaborators;
    FolderLanes m_lanes;

    mutable platform::Mutex m_mutex;
    platform::Condition m_wake;
    QSet<QString> m_inHand QUORIN_GUARDED_BY(m_mutex); // queued, being imported or waiting
    // Imported or refused, and still there or found before the network delivered them: never imported twice
    // while what was written is kept.
    QHash<QString, Outcome> m_decided QUORIN_GUARDED_BY(m_mutex);
    bool m_closing QUORIN_GUARDED_BY(m_mutex) = false;

    // By folder, from its first file on. Last: its threads use the fields above.
    std::map<QString, Retries> m_retries QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::receive
