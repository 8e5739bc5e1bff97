#pragma once

#include "index/db_service.h"
#include "index/deletion_results.h"
#include "index/file_store.h"
#include "index/image_object_id.h"
#include "index/index_examination.h"
#include "index/index_store.h"
#include "index/local_snapshots.h"
#include "index/pending_image_upload.h"
#include "index/sent_instances.h"
#include "index/sync_state.h"
#include "index/upload_failure.h"
#include "platform/concurrency/mutex.h"

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>
#include <QtCore/QVariantMap>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace gateway::platform {
class Clock;
class DicomParsing;
class FileSystem;
class MainExecutor;
class NotificationCenter;
class UserDefaults;
} // namespace gateway::platform

namespace gateway::index {

class Patience;

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

/// How far the recording of the stored files is that the index may lack.
struct RecordingProgress
{
    std::int64_t files = 0;    ///< those that it had to look at when it began
    std::int64_t recorded = 0; ///< those of them that have rows now, where they need them
};

/// What operators watch of the index.
struct IndexFigures
{
    EntityCounts total;
    std::int64_t syncedImages = 0;
    std::int64_t failedImages = 0;
    std::optional<QDateTime> oldestUnsentImageDate; ///< when it came, in UTC; nothing when all is sent
};

/// The one holder of the index, of the record of what the gateway keeps, and of the file store beside it.
///
/// Every operation is synchronous, and one transaction: a failed one has changed nothing and gives zero
/// counts or an empty result. None throws but `importFile`. Operations that write block until their result
/// is durable, but for the two that say otherwise, which become so with the next one; those that only read
/// never wait for a writer.
///
/// Owner: app. Thread: any.
class DicomDB
{
public:
    /// Opens or makes the index. \throws IndexOpenError  with the sentence for the operator.
    DicomDB(DicomDBPaths paths, DicomDBCollaborators with);
    ~DicomDB();

    DicomDB(const DicomDB &) = delete;
    DicomDB &operator=(const DicomDB &) = delete;

    // --- The file store ------------------------------------------------------------------------------

    /// The file store's root; made when it is missing, a failure to make it shows at the first import.
    QString fileStoreRoot();

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

    /// When the last image that was ever recorded was acknowledged, in nanoseconds since 1970.
    std::int64_t newestAcknowledged() const { return m_files.newestAcknowledged(); }

    // --- Uploads -------------------------------------------------------------------------------------

    /// The first candidates, at most `limit` (below 1 counts as 1), each with all its waiting rows.
    QList<PendingImageUpload> pendingImageUploads(int limit) const;

    /// The next candidates behind `cursor`, which moves past them: a run that keeps one cursor is offered
    /// each candidate once, however many fail, and those that arrive meanwhile as well. Oldest first; files
    /// that failed before and whose time has come follow, with a quarter of the page at the most, and with
    /// a share of it while others wait, too. Reads no row of a file whose time hasn't come.
    /// \return nothing when the index can't be read.
    std::optional<QList<PendingImageUpload>> pendingImageUploads(int limit, PendingCursor &cursor) const;

    /// Marks the rows as handed to a running upload. A power cut soon after may undo it.
    void markImagesInProgress(const QList<ImageObjectID> &imageObjectIDs);

    /// What of an instance was sent before; unknown when the index can't be read.
    SentBefore sentBefore(const SentInstance &next) const;

    /// Notes what is about to be sent, before a byte of it leaves: for as long as the index lives, whatever
    /// becomes of the request and of this process.
    ///
    /// \return what of each was sent before; nothing when it could not be written: then nothing may be sent.
    std::optional<QList<SentBefore>> noteSending(const QList<SentInstance> &instances);

    /// Records how the upload of the file at `storagePath` ended, on every row that stands for this file.
    /// Rows of `imageObjectIDs` that stand for another file by now, because it was sent again, keep their
    /// state. Without a path, the rows of `imageObjectIDs` themselves move. A power cut soon after may undo
    /// it, but nothing that follows from it.
    ///
    /// \param more  what else is known of it, kept with it.
    /// \return the number of rows updated; nothing when it could not be written.
    std::optional<std::int64_t> recordUploadResult(const QList<ImageObjectID> &imageObjectIDs,
                                                   const std::optional<QString> &storagePath,
                                                   bool synced,
                                                   const UploadResultDetails &more = {});

    /// Whether the cloud may hold another version of the instance, because one was or is being sent; true as
    /// well when the index can't be read.
    bool mayOtherVersionBeSent(const SentInstance &sent) const;

    /// Lets go of files that a modality may have been told of and that stand aside for one that is in the
    /// cloud, where they hold the very dataset that went there. Reads them.
    void releaseSentCopies();

    /// Puts back what an earlier process left in progress. A file that would wait for longer than
    /// kLongestWait may be tried now: the clock was set.
    RecoveryCounts recoverInProgressImages();

    /// Puts those of the rows back that are in progress still. Posts nothing. \return how many.
    std::int64_t resetInProgressImages(const QList<ImageObjectID> &imageObjectIDs);

    // --- Failures ------------------------------------------------------------------------------------

    /// No file waits for longer than this for its next try.
    static constexpr std::chrono::hours kLongestWait{24};

    /// Lets every file that waits for its time be tried at once; returns when that is durable. Importers are
    /// let in between.
    void releaseRetries();

    /// The files that wait for their time. Takes longer the more there are.
    WaitingRetries waitingRetries() const;

    /// When the next file is to be tried that failed before, in UTC; in the past when its time has come.
    /// Nothing where none waits; now when the index can't be read. Costs the same at any number of files.
    std::optional<QDateTime> nextRetry() const;

    /// The next failures behind `cursor`, newest first, at most `limit` (below 1 counts as 1); the cursor
    /// moves past them.
    QList<UploadFailure> uploadFailures(int limit, UploadFailureCursor &cursor) const;

    /// How many stored files have failed last with which class and code, the most frequent first.
    QList<UploadFailureCount> uploadFailureCounts() const;

    // --- Counts and snapshots ------------------------------------------------------------------------

    /// Rows that aren't synced: absent, 0, 2 or 3; of studies and series by their stored state.
    EntityCounts notSyncedCounts();
    EntityCounts totalCounts() const;
    std::int64_t syncedImagesCount() const;
    std::int64_t failedImagesCount() const;

    /// What operators watch, all of one moment; nothing when the index can't be read. Costs the same at any
    /// number of rows.
    std::optional<IndexFigures> figures() const;

    /// All of these counts in one read, so that they agree with one another while writers are at work.
    IndexCounts counts();

    /// What came and went between `start` and `end`, a figure a bucket.
    struct TransferBuckets
    {
        std::vector<std::int64_t> received;
        std::vector<std::int64_t> sent;
    };

    /// \param start, end  read to the whole five minutes below, on which buckets of every time zone start.
    /// \param duration    of one bucket, a multiple of five minutes.
    /// \param count       number of buckets; figures outside of them are left out.
    TransferBuckets transferBuckets(const QDateTime &start,
                                    const QDateTime &end,
                                    std::chrono::seconds duration,
                                    int count) const;

    /// All studies, the latest acquired first.
    QList<LocalStudySnapshot> studySnapshots();

    /// The series of one study, by number. \param identity  the `id` of a study's snapshot.
    QList<LocalSeriesSnapshot> seriesSnapshots(const QString &identity);

    // --- Letting go ----------------------------------------------------------------------------------

    /// Deletes the rows that are synced and were uploaded before `cutoff`, then the studies and series that
    /// are empty, also those left so from earlier, and then the files to which no row refers any more. Rows
    /// go in several transactions, each with its files behind it, so that importers wait for a part alone;
    /// the first that fails ends the prune, and what it left comes up again at the next one. A file whose
    /// removal failed is tried again by the next `finishRemovals`.
    LocalPruneResult pruneSyncedImages(const QDateTime &cutoff);

    /// Deletes studies with all that is theirs, whatever their state, in one transaction, and then the files
    /// to which no row refers any more. Doesn't roll up and posts nothing.
    ///
    /// \param studyInstanceUIDs  identities: the `id` of snapshots.
    DeletionCounts deleteStudies(const QStringList &studyInstanceUIDs);

    /// The same for series of one study, which stays, if need be empty.
    DeletionCounts deleteSeries(const QString &studyInstanceUID, const QStringList &seriesInstanceUIDs);

    /// Removes the files that an earlier deletion had to leave because the process ended or the disk failed.
    /// Called once after opening; each prune starts with it.
    void finishRemovals();

    // --- A lost index --------------------------------------------------------------------------------

    /// True while stored files may lack their rows: the index file was missing beside a store with files and
    /// was made anew, or came back from a backup that is older than the files. Survives restarts.
    bool lacksStoredFiles() const;

    /// Records stored files that lack their rows, in batches by number, the next one behind the last that an
    /// earlier call came to, beside everything else that goes on. Blocks.
    ///
    /// \param onRecorded  called after each batch with how many files it has recorded.
    /// \return false when something is left: it was stopped, files are out of sight or could not be read or
    ///         saved.
    bool recordStoredFiles(const std::stop_token &stop, const std::function<void(std::int64_t)> &onRecorded);

    /// How far that is; nothing before it has begun and once all are recorded.
    std::optional<RecordingProgress> recordingProgress() const;

    // --- States --------------------------------------------------------------------------------------

    /// The full sweep in a transaction of its own. \return true when a stored state changed.
    bool rollUpAllStates();

    /// Posts "QuorinGateway.localSyncStateChanged" from the main thread, soon. Calls that come before the
    /// post share it.
    void postLocalSyncStateChanged();

    // --- Examination ---------------------------------------------------------------------------------

    /// What compares the index with itself and with the file store; of use as long as the index lives.
    IndexExamination examination();

private:
    struct Announcement;
    using DeleteRows = std::function<std::int64_t(platform::Database &, QSet<QString> &paths)>;

    std::int64_t nowInMilliseconds() const;
    bool writeQuietly(const IndexStore::Change &change,
                      IndexStore::Durability durability = IndexStore::Durability::now);
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
    Recorded save(Patience &patience, const QVariantMap &found, const StoredFile &stored);
    [[noreturn]] void leaveUnsaved(const StoredFile &stored, const QString &why);
    void settleUnsaved(Patience &patience);
    bool hasOthersBeside(const QString &path) const;
    void releaseSentBeside(const QString &successor);
    void dropEqualCopies(const Recorded &recorded, const StoredFile &stored);
    void removeReleased(const QSet<QString> &paths, RemovalReason reason);
    std::optional<std::int64_t> recordAgainFrom() const;
    void noteWhatWasLost();
    bool noteRecordAgainFrom(std::optional<std::int64_t> number);
    RecordingProgress beginProgress(std::int64_t from);
    void tellProgress(const std::optional<RecordingProgress> &progress);
    bool pruneBatch(std::int64_t cutoff, LocalPruneResult &result);
    DeletionCounts deleteParents(std::int64_t requested, const DeleteRows &deleteRows);
    std::int64_t removeFiles(const QSet<QString> &paths, RemovalReason reason) QUORIN_REQUIRES(m_deletion);
    void forgetRemovals(const QStringList &paths);
    bool isReferred(const QString &path) const;

    const DicomDBCollaborators m_with;
    IndexStore m_store;
    FileStore m_files;
    platform::Mutex m_deletion; // one deletion at a time, from its rows to its files
    platform::Mutex m_unsavedMutex;
    QSet<QString> m_unsaved QUORIN_GUARDED_BY(m_unsavedMutex); // moved in, and their rows could not be saved
    const std::int64_t m_sender = newSender();
    mutable platform::Mutex m_recordingMutex;
    std::optional<RecordingProgress> m_recording QUORIN_GUARDED_BY(m_recordingMutex);
    std::atomic<bool> m_hasPerformedSyncStateBackfill = false;
    std::shared_ptr<Announcement> m_announcement;
    std::stop_source m_stop;
};

} // namespace gateway::index
