#pragma once

#include "index/db_service.h"
#include "log/writing/store_log_emitter.h"
#include "platform/archive/archive_unpacking.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/serial_queue.h"
#include "receive/import_panel.h"
#include "receive/manual_import_batch.h"
#include "receive/manual_import_report.h"
#include "receive/receive_observer.h"

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <stop_token>

namespace gateway::receive {

/// Takes in what the operator chooses: files, folders and archives, one batch after another, each with one
/// summary in the log and one request for an upload. Sources are never changed or removed.
///
/// Owner: Store, as a shared pointer, since the panel holds the service weakly. Thread: `presentImportPanel`,
/// `observeBatches` and `importItems` on main; reports and stops any.
class StoreManualImportService : public std::enable_shared_from_this<StoreManualImportService>
{
public:
    struct Collaborators
    {
        index::DBServiceProtocol &dbService;
        log::StoreLogEmitter &logEmitter;
        ReceiveObserver &observer;
        platform::MainExecutor &main;
        platform::Clock &clock;
        platform::ArchiveUnpacking &unpacking;
        std::function<std::optional<qint64>()>
            availableBytes;            ///< where the gateway keeps its files; any thread
        std::function<void()> refresh; ///< counters and transfer series are to be read again; on main
        std::function<void(QString)> onImportSucceeded; ///< requests an upload with this reason; any thread
        ImportPanel *panel = nullptr;                   ///< none without a desktop
    };

    using Places = ManualImportBatch::Places;

    /// Removes what a crash left in the temporary folder, before the first batch.
    StoreManualImportService(Collaborators collaborators, Places places);

    /// Stops the batch under way between two files, forgets the waiting ones, and waits.
    ~StoreManualImportService();

    StoreManualImportService(const StoreManualImportService &) = delete;
    StoreManualImportService &operator=(const StoreManualImportService &) = delete;

    /// Asks the operator what to import, and imports it; nothing happens on cancel or without a desktop.
    void presentImportPanel();

    /// Tells of each batch that is queued from now on, whoever asked for it; and at once of those that aren't
    /// over.
    ///
    /// \param begun  told the id of the batch; on main.
    /// \return for as long as it is kept, it is told.
    [[nodiscard]] std::shared_ptr<void> observeBatches(std::function<void(const QString &batch)> begun);

    /// Queues a batch and returns at once.
    ///
    /// \param trigger  where the batch came from, for the log; "manual_upload" when it is blank.
    /// \return the batch's id, which is its `correlationId`; empty when there is nothing to import.
    QString importItems(const QList<QUrl> &urls, const QString &trigger);

    /// How far a batch is, and what became of it; nothing for one that isn't known or ended long ago.
    std::optional<ManualImportReport> report(const QString &batch) const;

    /// Asks a batch to end before its next file; what is imported stays. An unknown batch is no error.
    void stop(const QString &batch);

private:
    struct Batch
    {
        QString id;
        ManualImportReport report;
        std::stop_source stop;
    };

    void run(const QString &id, const QList<QUrl> &urls, const QString &trigger, const std::stop_token &stop);
    void conclude(const QString &id, const ManualImportReport &report, const QString &trigger);
    QStringList batchesUnderWay() const QUORIN_EXCLUDES(m_mutex);
    void publish(const QString &id, const ManualImportReport &report) QUORIN_EXCLUDES(m_mutex);
    void forgetOldest() QUORIN_REQUIRES(m_mutex);

    using BatchObserver = std::function<void(const QString &batch)>;

    Collaborators m_collaborators;
    const Places m_places;
    QList<std::weak_ptr<BatchObserver>> m_observers; // main thread only

    mutable platform::Mutex m_mutex;
    std::list<Batch> m_batches QUORIN_GUARDED_BY(m_mutex); // in the order of their coming

    std::atomic<bool> m_closing = false;
    platform::SerialQueue m_manualImportQueue; // last: drained before the fields go
};

} // namespace gateway::receive
