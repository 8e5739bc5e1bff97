#pragma once

#include "index/db_service.h"
#include "log/store_log_emitter.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/task.h"
#include "platform/concurrency/worker_pool.h"
#include "receive/receive_state.h"

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

namespace gateway::receive {

/// Takes each received file from the inbox into the index, and out of the inbox.
///
/// A file leaves the inbox only when its rows are durable, or when no retry could ever import it; then it
/// is moved aside into `.rejected`, because its sender was told that it is stored. A file whose import failed
/// for want of storage stays and is tried again, one at a time, after 30 seconds at first and up to 10
/// minutes apart, and at the next start of the listener.
///
/// Owner: StoreListenerService. Thread: any.
class IncomingImporter : public std::enable_shared_from_this<IncomingImporter>
{
public:
    struct Collaborators
    {
        index::DBServiceProtocol &dbService;
        log::StoreLogEmitter &logEmitter;
        ReceiveState &state;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
        std::function<void(QString)> onImportSucceeded; ///< called with the reason, on a worker
    };

    /// The first and the longest pause before files that found no storage are tried again.
    static constexpr std::chrono::seconds kFirstPause{30};
    static constexpr std::chrono::seconds kLongestPause{600};

    explicit IncomingImporter(Collaborators collaborators);
    ~IncomingImporter();

    IncomingImporter(const IncomingImporter &) = delete;
    IncomingImporter &operator=(const IncomingImporter &) = delete;

    /// Imports a file that the network has just delivered; queues the work and returns at once.
    ///
    /// \param association  the identifier of the association that it came by.
    void fileArrived(const QString &path, const QString &association);

    /// Imports a complete file that an earlier run left in the inbox, unless it is in hand already.
    void fileFound(const QString &path);

private:
    struct Item
    {
        QString path;
        std::optional<QString> assocHash;
        bool found = false; ///< left by an earlier run, not delivered by this one
    };

    enum class Fate
    {
        imported,
        refused,
        noStorage
    };

    void enqueue(Item item);
    bool takeInHand(const Item &item) QUORIN_EXCLUDES(m_mutex);
    void handle(const Item &item);
    Fate importFile(const Item &item);
    void leaveInbox(const Item &item, Fate fate);
    void keepForRetry(const Item &item);
    void letGo(const Item &item);

    void retryLoop(std::stop_token stop);
    bool waitForWork(const std::stop_token &stop);
    bool retryRound(const std::stop_token &stop);

    void emitRecord(const Item &item,
                    log::GatewayLogAction action,
                    log::GatewayLogOutcome outcome,
                    log::GatewayLogLevel level = log::GatewayLogLevel::info,
                    std::optional<log::GatewayLogError> error = std::nullopt,
                    QMap<QString, QString> details = {});

    Collaborators m_with;

    platform::Mutex m_mutex;
    platform::Condition m_wake;
    QSet<QString> m_inHand QUORIN_GUARDED_BY(m_mutex);     // queued, being imported or waiting
    QSet<QString> m_found QUORIN_GUARDED_BY(m_mutex);      // left by an earlier run and taken over
    std::deque<Item> m_waiting QUORIN_GUARDED_BY(m_mutex); // found no storage
    bool m_closing QUORIN_GUARDED_BY(m_mutex) = false;

    platform::Task m_retry; // last: it uses the fields above
};

} // namespace gateway::receive
