#pragma once

#include "index/sent_instances.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

namespace gateway::index {

/// Why the upload of a stored file failed, and for how long the file waits then.
struct FailedUpload
{
    QString
        failureClass; ///< a short word, by which failures are counted; whoever records them gives the words
    std::int64_t failureCode = 0;

    /// How long the file waits after its first failure, its second and so on; the last one counts for all
    /// later. Up to an eighth is left out, other for each file, so that not all come back together. Without
    /// any it may be tried again at once.
    std::span<const std::chrono::seconds> pauses = {};
};

/// What is known of an upload's end beside its success.
struct UploadResultDetails
{
    /// Why it failed. It takes the place of the file's earlier failure, and goes by itself when a result says
    /// synced, and with the file's last row.
    std::optional<FailedUpload> failure = {};

    std::optional<SentInstance> version = {}; ///< what the try was of; nothing where that was never known
    bool isVerified = false;                  ///< the cloud was seen to hold this version

    /// The cloud took it, and didn't show it yet: the file waits as after a failure, and hasn't failed.
    bool isAwaited = false;
};

/// The last failure of a stored file that isn't uploaded.
struct UploadFailure
{
    QString storagePath; ///< the file's `pathString`
    QUrl fileURL;
    platform::InstanceUid sopInstanceUID; ///< as it stands in the file; empty when there is none
    platform::StudyUid studyInstanceUID;  ///< empty when there is none
    QString failureClass;
    std::int64_t failureCode = 0;
    QDateTime failedAt; ///< UTC

    bool operator==(const UploadFailure &) const = default;
};

/// Stored files that failed and wait for their time.
struct WaitingRetries
{
    std::int64_t files = 0;
    std::optional<QDateTime> next; ///< when the first of them is tried again, in UTC

    bool operator==(const WaitingRetries &) const = default;
};

/// How many stored files have failed last for one reason.
struct UploadFailureCount
{
    QString failureClass;
    std::int64_t failureCode = 0;
    std::int64_t files = 0;

    bool operator==(const UploadFailureCount &) const = default;
};

/// How far a reader has come in the list of failures; a new one stands before the newest.
struct UploadFailureCursor
{
    std::int64_t failedAt = std::numeric_limits<std::int64_t>::max();
    QString storagePath;

    bool operator==(const UploadFailureCursor &) const = default;
};

} // namespace gateway::index
