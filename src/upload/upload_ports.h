#pragma once

#include "index/pending_image_upload.h"
#include "index/upload_failure.h"

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <chrono>
#include <cstdint>
#include <exception>
#include <optional>

namespace gateway::upload {

/// What an upload run asks of the index. Nothing here throws; a failure shows as zero counts or an empty
/// list.
///
/// Thread: any, several at a time. What is noted before a request is durable when the call returns; marks and
/// results are from the next such note on, at the latest.
class UploadIndex
{
public:
    virtual ~UploadIndex() = default;

    /// Puts back what an earlier run left in progress.
    virtual index::RecoveryCounts recoverInProgressImages() = 0;

    /// The next candidates behind `cursor`, oldest first, at most `limit`, and among them those that failed
    /// before and whose time has come; moves the cursor past them. Nothing where they can't be read.
    virtual std::optional<QList<index::PendingImageUpload>>
    pendingImageUploads(int limit, index::PendingCursor &cursor) = 0;

    /// Marks the rows as handed to the running upload.
    virtual void markImagesInProgress(const QList<index::ImageObjectID> &imageObjectIDs) = 0;

    /// What of an instance was sent before.
    virtual index::SentBefore sentBefore(const index::SentInstance &next) = 0;

    /// Notes what is about to be sent.
    /// \return what of each was sent before; nothing when it could not be written: nothing may be sent then.
    virtual std::optional<QList<index::SentBefore>>
    noteSending(const QList<index::SentInstance> &instances) = 0;

    /// Records how the upload of the file at `storagePath` ended, and whether the version that was tried may
    /// have arrived; a success forgets its last failure.
    /// \return the number of rows updated; nothing when it could not be written.
    virtual std::optional<std::int64_t> recordUploadResult(const QList<index::ImageObjectID> &imageObjectIDs,
                                                           const QString &storagePath,
                                                           bool synced,
                                                           const index::UploadResultDetails &more) = 0;

    /// Whether the cloud may hold another version of an instance, which this gateway sent. To be asked when
    /// the cloud has answered: one that is sent meanwhile counts.
    virtual bool mayOtherVersionBeSent(const index::SentInstance &sent) = 0;

    /// When the next file is to be tried that failed before, in UTC; nothing where none waits.
    virtual std::optional<QDateTime> nextRetry() = 0;

    /// Lets every file that waits for its time be tried at once.
    virtual void releaseRetries() = 0;

    /// Puts those of the rows back that are in progress still. \return how many.
    virtual std::int64_t resetInProgressImages(const QList<index::ImageObjectID> &imageObjectIDs) = 0;
};

/// Whether somebody is signed in. Thread: any.
class UploadSession
{
public:
    virtual ~UploadSession() = default;

    virtual bool hasToken() = 0;
};

/// The live figures that a run moves. Thread: main, where the run posts its calls without waiting for them.
class UploadState
{
public:
    virtual ~UploadState() = default;

    virtual void refreshCounters() = 0;
    virtual void refreshTransferSeries() = 0;

    /// \param bytes    sent since the attempt began.
    /// \param elapsed  since the attempt began.
    virtual void recordUploadThroughput(qint64 bytes, std::chrono::duration<double> elapsed) = 0;
};

/// Finds out whether a failed upload was refused for unaccepted terms. Thread: any, several at a time.
class TermsFollowUp
{
public:
    virtual ~TermsFollowUp() = default;

    /// Blocks while the cloud is asked; never throws.
    ///
    /// \param error    what the upload threw.
    /// \param fileURL  the attempt's file; the first one's for a batch.
    virtual void
    checkTermsAfterUploadFailure(const std::exception &error, const QString &runId, const QUrl &fileURL) = 0;
};

/// The service that lets go of what the retention policy no longer keeps. Thread: any.
class GatewayAutoDeleteCleanupServicing
{
public:
    virtual ~GatewayAutoDeleteCleanupServicing() = default;

    /// Queues a cleanup and returns at once.
    ///
    /// \param trigger         a short word for the log.
    /// \param correlationId   the run that asks, if one does.
    /// \param overrideCutoff  stands for now: the policy still goes from there.
    virtual void runCleanup(const QString &trigger,
                            const std::optional<QString> &correlationId,
                            const std::optional<QDateTime> &overrideCutoff) = 0;
};

} // namespace gateway::upload
