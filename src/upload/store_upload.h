#pragma once

#include "cloud_client/cloud_session.h"
#include "core/failure_class.h"
#include "core/settings.h"
#include "index/pending_image_upload.h"
#include "index/sent_instances.h"
#include "platform/defaults/user_defaults.h"
#include "platform/dicom/instance_identity.h"

#include <QtCore/QLatin1StringView>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <chrono>
#include <cstdint>
#include <optional>
#include <variant>

namespace gateway::upload {

/// Key and value texts of a log event.
using Details = QMap<QString, QString>;

/// The values that an upload run works with. Thread: any; plain values.
namespace StoreUpload {

/// How a page of candidates is worked through.
enum class ExecutionMode
{
    single,       ///< one file after another
    parallelFile, ///< several files at a time, each in a request of its own
    parallelBatch ///< several requests at a time, each with several files
};

/// The word of a mode in the log.
QLatin1StringView rawValue(ExecutionMode mode);

/// What the settings say about uploads, as read.
struct UploadSettings
{
    int wadoLimit = 0;
    int quorinCloudBatchUploadCount = 0;
    bool quorinCloudBatchEnabled = false;
    bool quorinCloudCompressToLS = false;
    bool retrieveMode = false; ///< parallel transfers
};

/// Reads the settings as they stand now.
UploadSettings uploadSettings(const core::Settings &settings, const platform::UserDefaults &defaults);

/// What a run is told to do, taken from the settings when it starts.
struct ExecutionConfig
{
    ExecutionMode mode = ExecutionMode::single;
    bool batchEnabled = false;
    int maxConcurrent = 1; ///< requests in flight, and conversions under way; at least 1
    int batchSize = 1;     ///< files of one request; at least 1
    bool compressionEnabled = false;
    int fetchLimit = 1; ///< candidates of one page; at least 1

    /// One file at a time goes alone until a request was answered: the last run met trouble.
    bool probesFirst = false;

    bool operator==(const ExecutionConfig &) const = default;
};

/// Numbers below 1 count as 1. Files go in batches only where transfers are parallel and batches are on.
ExecutionConfig executionConfig(const UploadSettings &settings);

/// The keys that nearly every event of a run carries.
Details executionDetails(const ExecutionConfig &config);

enum class AttemptResult
{
    success,
    failed,
    missingFile
};

/// Whom a failure concerns.
enum class FailureReach
{
    file,       ///< this file: the answer was about it, or it never left
    unanswered, ///< this file, unless others get no answer either
    queue       ///< every file that waits
};

/// How an attempt ended, and unless it succeeded, why.
struct AttemptEnd
{
    AttemptResult result = AttemptResult::failed;
    core::Failure failure = {};
    FailureReach reach = FailureReach::file;
    std::optional<std::chrono::seconds> retryAfter = {}; ///< for how long the cloud asked to be left alone
    bool isVerified = false;                             ///< the cloud was seen to hold what was sent

    bool operator==(const AttemptEnd &) const = default;
};

inline constexpr AttemptEnd kUploaded{.result = AttemptResult::success};
inline constexpr AttemptEnd kFileMissing{.result = AttemptResult::missingFile,
                                         .failure = {core::FailureClass::fileMissing, 0}};

/// What ended a run before every candidate was tried: it would have met each of them.
struct QueueTrouble
{
    core::Failure failure = {};
    std::optional<std::chrono::seconds> retryAfter = {}; ///< for how long the cloud asked to be left alone

    bool operator==(const QueueTrouble &) const = default;
};

/// A candidate in a run.
struct CandidateContext
{
    index::PendingImageUpload candidate;
    int attempt = 1;                         ///< counting from 1
    cloud_client::CloudSession session = {}; ///< that all goes in which is sent, asked or noted for it
};

/// The execution details with the number of rows behind the candidate.
Details candidateDetails(const CandidateContext &context, const Details &executionDetails);

/// A candidate with the file that is to be sent for it.
struct PreparedCandidate
{
    CandidateContext context;
    QUrl uploadURL;
    std::optional<QUrl> cleanupURL; ///< a temporary file to remove afterwards
    Details details;
    platform::InstanceIdentity identity;
    std::int64_t version = 0; ///< of the instance, see platform::SendableFile
    index::SentBefore sentBefore = index::SentBefore::nothing; ///< when its request began
};

/// What the index keeps of it.
index::SentInstance sentInstance(const PreparedCandidate &prepared);

/// The stored file isn't there.
struct MissingFile
{
    Details details;
};

/// Nothing can be sent for the stored file.
struct UnsendableFile
{
    core::FailureClass failureClass = core::FailureClass::fileUnreadable;
    Details details;
};

using CandidatePreparationResult = std::variant<PreparedCandidate, MissingFile, UnsendableFile>;

/// How a candidate ended.
struct CandidateOutcome
{
    CandidateContext context;
    AttemptEnd end;
    Details details;
    std::optional<index::SentInstance> version = {}; ///< what was tried; nothing where that was never known
};

/// What a run did.
struct RunSummary
{
    std::int64_t selectedCandidates = 0;
    std::int64_t successfulUploads = 0;
    std::int64_t failedUploads = 0;
    std::int64_t missingFiles = 0;
    std::int64_t recoveredInProgressImages = 0;
    std::int64_t recoveredInProgressSeries = 0;
    std::int64_t recoveredInProgressStudies = 0;
    std::int64_t reconciledCandidates = 0;
    std::int64_t reconciledImages = 0;
    bool missingToken = false;
    bool wasCancelled = false;
    std::optional<QueueTrouble> trouble = {}; ///< what ended it early
    ExecutionConfig orders = {};
};

/// The execution details with every figure of the summary, and "ended_by" where something ended it early.
Details summaryDetails(const RunSummary &summary);

/// "true" or "false".
QString boolText(bool value);

} // namespace StoreUpload

} // namespace gateway::upload
