#include "index/dicom_db.h"

#include "core/notification_names.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/notifications/notification_center.h"
#include "platform/sqlite/database.h"

#include <algorithm>
#include <utility>

namespace gateway::index {

/// Outlives the index while a post is queued. Thread: any.
struct DicomDB::Announcement
{
    std::atomic<bool> queued = false;
};

namespace {

std::int64_t ledger(const IndexStore &store, const char *sql)
{
    return store.read([sql](platform::Database &database) { return database.integer(sql); });
}

} // namespace

DicomDB::DicomDB(DicomDBPaths paths, DicomDBCollaborators collaborators)
    : m_collaborators(collaborators), m_store(paths.indexFile),
      m_files(paths.fileStoreRoot,
              collaborators.defaults,
              collaborators.clock,
              collaborators.files,
              {.nextNumber = ledger(m_store, "SELECT nextFileNumber FROM Ledger"),
               .newestAcknowledged = ledger(m_store, "SELECT newestAcknowledged FROM Ledger"),
               .whoseFiles =
                   [this, root = paths.fileStoreRoot] {
                       return whoseFiles(root, m_store, m_collaborators.parser);
                   },
               .letGoOfFiles = [this] { return letGoOfFiles(); },
               .forgetRemovals = [this] { return forgetRemovals(); },
               .takenUp = [this] { m_storeRecording.noteWhatIsLacking(); }}),
      m_announcement(std::make_shared<Announcement>()),
      m_failedUploads(m_store, m_files, collaborators.clock),
      m_sendCount(collaborators.defaults, collaborators.clock),
      m_storeRecording(
          m_store, m_files, examination(), m_sendCount.kept(), [this] { postLocalSyncStateChanged(); })
{
}

DicomDB::~DicomDB()
{
    m_stop.request_stop();
}

QString DicomDB::fileStoreRoot()
{
    return m_files.root();
}

bool DicomDB::takeUpStore()
{
    m_files.takeUp();
    return m_files.isOutOfSight();
}

QUrl DicomDB::fileURL(const QString &pathString) const
{
    return m_files.fileURL(pathString);
}

IndexExamination DicomDB::examination()
{
    return {m_store, m_files, m_collaborators.parser, m_collaborators.clock};
}

std::int64_t DicomDB::nowInMilliseconds() const
{
    return m_collaborators.clock.now().toMSecsSinceEpoch();
}

bool DicomDB::rollUpAllStates()
{
    bool changed = false;
    const bool saved =
        m_store.tryWrite([&](platform::Database &database) { changed = index::rollUpAllStates(database); });
    return saved && changed;
}

void DicomDB::backfillOnce()
{
    if (m_hasPerformedSyncStateBackfill.exchange(true)) {
        return;
    }
    try {
        // A look first, so that a screen waits for a commit only where there is something to write.
        if (m_store.read(hasUnsettledStates)) {
            rollUpAllStates();
        }
    } catch (const platform::SqliteError &) {
        return; // the states stay as stored
    }
}

void DicomDB::postLocalSyncStateChanged()
{
    if (m_announcement->queued.exchange(true)) {
        return; // the one that is queued runs after this change
    }
    m_collaborators.main.post(
        [announcement = m_announcement, &notifications = m_collaborators.notifications] {
            announcement->queued.store(false);
            notifications.post(core::kLocalSyncStateChanged);
        });
}

} // namespace gateway::index
