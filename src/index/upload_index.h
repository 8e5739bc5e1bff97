#pragma once

#include "index/pending_image_upload.h"
#include "index/sent_instances.h"
#include "index/upload_failure.h"

#include <QtCore/QList>
#include <QtCore/QString>

#include <cstdint>
#include <optional>

namespace gateway::index {

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
    /// \return nothing when the index can't be read.
    virtual std::optional<QList<PendingImageUpload>> pendingImageUploads(int limit,
                                                                         PendingCursor &cursor) = 0;

    /// Marks the rows as handed to the running upload. A power cut soon after may undo it.
    virtual void markImagesInProgress(const QList<ImageObjectID> &imageObjectIDs) = 0;

    /// What of an instance was sent before; unknown when the index can't be read.
    virtual SentBefore sentBefore(const SentInstance &next) = 0;

    /// Notes where all goes from now on: another cloud than before may hold something else, whatever the last
    /// one has answered.
    ///
    /// \param cloud  names the cloud and the account there.
    /// \return false when it could not be written: then nothing may be sent.
    virtual bool noteCloud(const QString &cloud) = 0;

    /// Notes that the cloud that was noted last has answered a query.
    virtual void noteQueryAnswered() = 0;

    /// Notes that it says that it has no queries.
    ///
    /// \return true where it may be believed: it never answered one, and has been saying so for an hour. One
    ///         such answer may be that of a proxy, or of a service that starts.
    virtual bool noteQueryRefused() = 0;

    /// Notes what is about to be sent, before a byte of it leaves: for as long as the index lives, whatever
    /// becomes of the request and of this process.
    ///
    /// \return what of each was sent before; nothing when it could not be written: then nothing may be sent.
    virtual std::optional<QList<SentBefore>> noteSending(const QList<SentInstance> &instances) = 0;

    /// Records how the upload of the file at `storagePath` ended, on every row that stands for this file.
    /// Rows of `imageObjectIDs` that stand for another file by now, because it was sent again, keep their
    /// state. Without a path, the rows of `imageObjectIDs` themselves move. Keeps whether the version that
    /// was tried may have arrived; a success forgets the last failure. A power cut soon after may undo it,
    /// but nothing that follows from it.
    ///
    /// \param more  what else is known of it, kept with it.
    /// \return the number of rows updated; nothing when it could not be written.
    virtual std::optional<std::int64_t> recordUploadResult(const QList<ImageObjectID> &imageObjectIDs,
                                                           const std::optional<QString> &storagePath,
                                                           bool synced,
                                                           const UploadResultDetails &more) = 0;

    /// Whether the cloud may hold another version of the instance, because one was or is being sent; true as
    /// well when the index can't be read. To be asked when the cloud has answered: one that is sent meanwhile
    /// counts.
    virtual bool mayOtherVersionBeSent(const SentInstance &sent) = 0;

    /// Puts those of the rows back that are in progress still. Posts nothing. \return how many.
    virtual std::int64_t resetInProgressImages(const QList<ImageObjectID> &imageObjectIDs) = 0;
};

} // namespace gateway::index
