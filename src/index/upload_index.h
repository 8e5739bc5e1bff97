#pragma once

#include "index/pending_image_upload.h"
#include "index/sent_instances.h"
#include "index/upload_failure.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace gateway::index {

/// How the upload of a stored file ended.
struct UploadResult
{
    /// Moved where no path is given. Rows that stand for another file by now, because theirs was sent again,
    /// keep their state.
    QList<ImageObjectID> images = {};
    std::optional<QString> storagePath = {}; ///< every row that stands for this file moves
    bool isSynced = false;

    /// Kept with it: whether the version that was tried may have arrived. A success forgets the last failure.
    UploadResultDetails more = {};

    /// That of the candidate. Where another store has become that of the index since, no row moves: the path
    /// is that of another image, and the rows may stand for it.
    StoreTurn store = {};
};

/// What an upload run asks of the index. Nothing here throws; a failure shows as zero counts or an empty
/// result.
///
/// Owner: app. Thread: any, several at a time. What is noted before a request is durable when the call
/// returns; marks and results are from the next such note on, at the latest.
class UploadIndex
{
public:
    virtual ~UploadIndex() = default;

    /// Puts back what an earlier process left in progress. A file that would wait for longer than
    /// FailedUploads::kLongestWait may be tried now: the clock was set.
    virtual RecoveryCounts recoverInProgressImages() = 0;

    /// The next candidates behind `cursor`, which moves past them: a run that keeps one cursor is offered
    /// each candidate once, however many fail, and those that arrive meanwhile as well. Oldest first; files
    /// that failed before and whose time has come follow, with a quarter of the page at the most, and with
    /// a share of it while others wait, too. Reads no row of a file whose time hasn't come.
    ///
    /// \param limit  at most so many; below 1 counts as 1.
    /// \return nothing when the index can't be read, or the file store isn't in sight.
    virtual std::optional<QList<PendingImageUpload>> pendingImageUploads(int limit,
                                                                         PendingCursor &cursor) = 0;

    /// Marks the rows as handed to the running upload. A power cut soon after may undo it.
    virtual void markImagesInProgress(const QList<ImageObjectID> &imageObjectIDs) = 0;

    /// What of an instance was sent before; unknown when the index can't be read.
    virtual SentBefore sentBefore(const SentInstance &next) = 0;

    /// Notes that a cloud has answered a query.
    ///
    /// \param cloud  names it and the account there, as in the next two.
    virtual void noteQueryAnswered(const QString &cloud) = 0;

    /// Notes that it says that it has no queries.
    ///
    /// \return true where it may be believed: it never answered one, and has been saying so, and nothing
    /// else,
    ///         for an hour of this process. One such answer may be that of a proxy, or of a service that
    ///         starts.
    virtual bool noteQueryRefused(const QString &cloud) = 0;

    /// Notes that a query ended in some other way, with an answer that says nothing or without one.
    virtual void noteQueryFailed(const QString &cloud) = 0;

    /// Notes what is about to be sent, before a byte of it leaves: for as long as the index lives, whatever
    /// becomes of the request and of this process.
    ///
    /// \return what of each was sent before; nothing when it could not be written: then nothing may be sent.
    virtual std::optional<QList<SentBefore>> noteSending(const QList<SentInstance> &instances) = 0;

    /// Notes at once that a try of these versions failed. Their results are recorded later, with others: a
    /// process that dies before that must not leave them as broken off, which might have arrived.
    virtual void noteTriedInVain(const QList<SentInstance> &instances) = 0;

    /// Records how uploads ended, in this order and each as if alone, with as few waits for the disk as may
    /// be. A power cut soon after may undo them, but nothing that follows from them.
    ///
    /// \return of each the number of rows updated; nothing when it could not be written.
    virtual QList<std::optional<std::int64_t>> recordUploadResults(const QList<UploadResult> &results) = 0;

    /// Whether the cloud may hold another version of the instance, because one was or is being sent; true as
    /// well when the index can't be read. To be asked when the cloud has answered: one that is sent meanwhile
    /// counts.
    virtual bool mayOtherVersionBeSent(const SentInstance &sent) = 0;

    /// True while the files can't be seen where they were stored: what seems to be gone may well be there.
    virtual bool isStoreOutOfSight() const = 0;

    /// Puts those of the rows back that are in progress still. Posts nothing. \return how many.
    virtual std::int64_t resetInProgressImages(const QList<ImageObjectID> &imageObjectIDs) = 0;
};

} // namespace gateway::index
