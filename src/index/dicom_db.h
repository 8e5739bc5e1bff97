#pragma once

#include "index/cloud_deletions.h"
#include "index/db_service.h"
#include "index/failed_uploads.h"
#include "index/figure_index.h"
#include "index/file_store.h"
#include "index/index_examination.h"
#include "index/index_store.h"
#include "index/send_count.h"
#include "index/store_recording.h"
#include "index/study_index.h"
#include "index/sync_state.h"
#include "index/upload_index.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace gateway::platform {
class Clock;
class DicomParsing;
class FileSystem;
class MainExecutor;
class NotificationCenter;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::index {

class StorageRetry;
struct ParsedObject;

/// Where the index keeps its things.
struct DicomDBPaths
{
    QString indexFile;     ///< the index, "QuorinGateway.sqlite"
    QString fileStoreRoot; ///< the file store, "Pavan Data"
};

/// What `DicomDB` works with; all of it outlives the index.
struct DicomDBCollaborators
{
    platform::UserDefaults &defaults;
    platform::DicomParsing &parser;
    platform::NotificationCenter &notifications;
    platform::MainExecutor &main;
    platform::Clock &clock;
    platform::FileSystem &files;

    /// Hears of each file that has gone from the file store. Called on the thread that removed it; must
    /// neither throw nor come back to the index.
    std::function<void(const QUrl &file, RemovalReason reason)> onFileRemoved = [](const QUrl &,
                                                                                   RemovalReason) {};
};

/// The one holder of the index, of the record of what the gateway keeps, and of the file store beside it.
///
/// Every operation is synchronous, and one transaction: a failed one has changed nothing and gives zero
/// counts or an empty result. None throws but `importFile`. Operations that write block until their result
/// is durable, but for the two that say otherwise, which become so with the next one; those that only read
/// never wait for a writer.
///
/// Whoever needs one side of it works with its port (`UploadIndex`, `FigureIndex`, `StudyIndex`,
/// `DBServiceProtocol`) or with the part that stands for it.
///
/// Owner: app. Thread: any.
class DicomDB final : public UploadIndex, public FigureIndex, public StudyIndex, public CloudDeletions
{
public:
    /// Opens or makes the index. \throws IndexOpenError  with the sentence for the operator.
    DicomDB(DicomDBPaths paths, DicomDBCollaborators collaborators);
    ~DicomDB() override;

    DicomDB(const DicomDB &) = delete;
    DicomDB &operator=(const DicomDB &) = delete;

    // --- The file store ------------------------------------------------------------------------------

    /// Where the file of a `pathString` lies: an absolute one as it stands, any other below the root.
    QUrl fileURL(const QString &pathString) const;

    /// Takes one file in: private copy, parsing, move into the file store, rows. The source stays. When this
    /// returns, file and rows are durable. Storage trouble that may pass is waited out for up to half a
    /// minute.
    ///
    /// A damaged object, which ends before its elements do, is taken from the own inbox alone.
    ///
    /// Of an image that comes more than once the rows stand for what was acknowledged last, in whatever order
    /// the files arrive here. The others go once that one is in the cloud, or with its rows.
    ///
    /// \throws GatewayImportError
    ImportedFileSummary importFile(const QUrl &url, ImportSource source = ImportSource::foreign);

    /// Whether an image that was imported is kept without the file that it came in: its stored file is there,
    /// or the one that has taken its place, or the cloud has it, or somebody let go of it since. Nothing
    /// where that can't be told at this moment.
    std::optional<bool> isKept(const ImportedFileSummary &imported) const;

    /// When the last image that was ever recorded was acknowledged, in nanoseconds since 1970.
    std::int64_t newestAcknowledged() const { return m_files.newestAcknowledged(); }

    /// True while nothing is taken in because the file store can't be seen where it was.
    bool isStoreOutOfSight() const override { return m_files.isOutOfSight(); }

    /// The same, after a look whether the store can be taken up that wasn't in sight before. Blocks for as
    /// long as its volume doesn't answer.
    bool takeUpStore();

    /// True where a store stands there that isn't this index's: see FileStore.
    bool isStoreAnother() const { return m_files.isAnother(); }

    /// Takes it for this index's from now on, on a person's word, and records its files. \return false when
    /// that failed.
    bool acceptStore();

    // --- Parts, each of use as long as the index lives --------------------------------------------------

    /// Why files that wait were not uploaded, and for how long they wait.
    FailedUploads &failedUploads() { return m_failedUploads; }

    /// Gives a store the rows again that a lost index left it without.
    StoreRecording &storeRecording() { return m_storeRecording; }

    /// What is kept of the index as an older version of the program left it.
    const FormerIndex &former() const { return m_store.former(); }

    /// What compares the index with itself and with the file store.
    IndexExamination examination();

    // --- Uploads, by UploadIndex ---------------------------------------------------------------------

    RecoveryCounts recoverInProgressImages() override;
    std::optional<QList<PendingImageUpload>> pendingImageUploads(int limit, PendingCursor &cursor) override;
    void markImagesInProgress(const QList<ImageObjectID> &imageObjectIDs) override;
    SentBefore sentBefore(const SentInstance &next) override;
    void noteQueryAnswered(const QString &cloud) override;
    bool noteQueryRefused(const QString &cloud) override;
    void noteQueryFailed(const QString &cloud) override;
    std::optional<QList<SentBefore>> noteSending(const QList<SentInstance> &instances) override;
    void noteTriedInVain(const QList<SentInstance> &instances) override;
    QList<std::optional<std::int64_t>> recordUploadResults(const QList<UploadResult> &results) override;
    bool mayOtherVersionBeSent(const SentInstance &sent) override;
    std::int64_t resetInProgressImages(const QList<ImageObjectID> &imageObjectIDs) override;

    /// Records how one upload ended of a file that lies in the store that is the index's now.
    std::optional<std::int64_t> recordUploadResult(const QList<ImageObjectID> &imageObjectIDs,
                                                   const std::optional<QString> &storagePath,
                                                   bool synced,
                                                   const UploadResultDetails &more = {});

    /// The first candidates, at most `limit` (below 1 counts as 1), each with all its waiting rows.
    QList<PendingImageUpload> pendingImageUploads(int limit);

    /// Lets go of files that a modality may have been told of and that stand aside for one that is in the
    /// cloud, where they hold the very dataset that went there. Reads them.
    void releaseSentCopies();

    // --- What is watched, by FigureIndex -------------------------------------------------------------

    IndexCounts counts() override;
    std::optional<IndexFigures> figures() const override;
    TransferCounts transferBuckets(const QDateTime &start,
                                   const QDateTime &end,
                                   std::chrono::seconds duration,
                                   int count) const override;
    QString fileStoreRoot() override;

    // --- Snapshots -----------------------------------------------------------------------------------

    QList<LocalStudySnapshot> studySnapshots() override;
    QList<LocalSeriesSnapshot> seriesSnapshots(const QString &identity) override;
    QList<QUrl> studyFiles(const QString &identity, int limit) override;
    std::optional<OutsideCloud> imagesOutsideCloud(const QStringList &studies) override;
    std::optional<OutsideCloud> seriesImagesOutsideCloud(const QString &study,
                                                         const QStringList &series) override;

    // --- Letting go ----------------------------------------------------------------------------------

    /// Deletes the rows that are synced and were uploaded before `cutoff`, but for those whose images a
    /// person deleted from the cloud, then the studies and series that are empty, also those left so from
    /// earlier, and then the files to which no row refers any more. Rows go in several transactions, each
    /// with its files behind it, so that importers wait for a part alone; the first that fails ends the
    /// prune, and what it left comes up again at the next one. A file whose removal failed is tried again by
    /// the next `finishRemovals`.
    LocalPruneResult pruneSyncedImages(const QDateTime &cutoff);

    DeletionCounts deleteStudies(const QStringList &studyInstanceUIDs,
                                 const std::optional<OutsideCloud> &known = {}) override;
    DeletionCounts deleteSeries(const QString &studyInstanceUID,
                                const QStringList &seriesInstanceUIDs,
                                const std::optional<OutsideCloud> &known = {}) override;

    bool noteCloudDeletion(const platform::StudyUid &study,
                           const platform::SeriesUid &series,
                           CloudDeletion step) override;

    /// Removes the files that an earlier deletion had to leave because the process ended or the disk failed.
    /// Called once after opening; each prune starts with it.
    void finishRemovals();

    // --- States --------------------------------------------------------------------------------------

    /// The full sweep in a transaction of its own. \return true when a stored state changed.
    bool rollUpAllStates();

    /// Posts "QuorinGateway.localSyncStateChanged" from the main thread, soon. Calls that come before the
    /// post share it.
    void postLocalSyncStateChanged();

private:
    struct Announcement;
    struct Recording;
    using Unsaved = QHash<QString, StoreTurn>;
    using DeleteRows = std::function<std::int64_t(platform::Database &, QSet<QString> &paths)>;
    using Find = std::function<std::optional<std::int64_t>(platform::Database &, const QString &identity)>;

    std::int64_t nowInMilliseconds() const;
    void backfillOnce();
    void appendCandidates(platform::Database &database,
                          bool isRetry,
                          qsizetype limit,
                          PendingPlace &place,
                          QList<PendingImageUpload> &candidates) const;
    std::optional<PendingImageUpload> gather(platform::Database &database,
                                             const QString &storedPath,
                                             bool isRetry,
                                             const PendingPlace &start) const;
    std::optional<StoredFile> takeUpEarlierImport(const QString &path, ImportSource source);
    bool isToGo(const QString &path) const;
    bool mayRemove(const QString &path) const;
    Recorded save(StorageRetry &retry, const ParsedObject &object, const StoredFile &stored);
    [[noreturn]] void leaveUnsaved(const StoredFile &stored, const QString &why);
    StoreTurn turnToImportInto(StorageRetry &retry);
    void settleUnsaved(StorageRetry &retry);
    void record(platform::Database &database, const UploadResult &result, Recording &recording) const;
    bool hasOthersBeside(const QString &path) const;
    void releaseSentBeside(const QString &successor);
    void dropEqualCopies(const Recorded &recorded, const StoredFile &stored);
    void removeReleased(const QSet<QString> &paths, RemovalReason reason);
    bool letGoOfFiles();
    bool forgetRemovals();
    bool pruneBatch(std::int64_t cutoff, LocalPruneResult &result);
    std::optional<OutsideCloud>
    countOutside(const QStringList &identities, const Find &find, const char *count) const;
    DeletionCounts deleteParents(std::int64_t requested, const DeleteRows &deleteRows);
    std::int64_t removeFiles(const QSet<QString> &paths, RemovalReason reason) QUORIN_REQUIRES(m_deletion);
    void forgetRemovals(const QStringList &paths);

    /// A cloud says that it has no queries, and nothing else since then, by the clock that nobody sets.
    struct QueryRefusal
    {
        QString cloud;
        std::chrono::nanoseconds told{0};                  ///< for how long, but for the times of doubt
        std::optional<std::chrono::nanoseconds> last = {}; ///< of the monotonic clock; none behind a doubt
    };

    const DicomDBCollaborators m_collaborators;
    IndexStore m_store;
    FileStore m_files;
    platform::Mutex m_deletion; // one deletion at a time, from its rows to its files
    platform::Mutex m_unsavedMutex;
    Unsaved m_unsaved QUORIN_GUARDED_BY(m_unsavedMutex); // moved in, and their rows could not be saved
    const std::int64_t m_sender = newSender();
    platform::Mutex m_refusalMutex;
    std::optional<QueryRefusal> m_refusal QUORIN_GUARDED_BY(m_refusalMutex);
    std::atomic<bool> m_hasPerformedSyncStateBackfill = false;
    std::shared_ptr<Announcement> m_announcement;
    std::stop_source m_stop;
    FailedUploads m_failedUploads;
    SendCount m_sendCount;
    StoreRecording m_storeRecording;
};

} // namespace gateway::index
