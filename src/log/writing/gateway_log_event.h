#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QLatin1StringView>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace gateway::log {

/// The key under which the details of a successful import name the file that it made, as the hash that all
/// later events of the image carry.
inline constexpr QLatin1StringView kStoredFileHashKey("stored_file_hash");

/// Severity of an event.
enum class GatewayLogLevel
{
    debug,
    info,
    warning,
    error
};

/// The functional stream of an event; also its category in the system log.
enum class GatewayLogCategory
{
    listener,    ///< start and stop of the DIMSE listener
    receive,     ///< associations, incoming files, imports
    send,        ///< upload work on one candidate
    uploadQueue, ///< upload runs, recovery, reconciliation, local retention
    quorinCloud, ///< cloud browser fetches and deletions
    updater      ///< updater and version policy
};

/// How the thing told by an event stands.
enum class GatewayLogOutcome
{
    started,
    succeeded,
    failed,
    completed,
    skipped,
    queued,
    inProgress
};

/// What happened.
enum class GatewayLogAction
{
    listenerStartRequested,
    listenerStartSucceeded,
    listenerStartFailed,
    listenerStopped,
    listenerIncomingPathResolutionFailed,
    associationStarted,
    associationCompleted,
    associationFailed,
    fileReceivedCallback,
    importAttempted,
    importSucceeded,
    importFailed,
    incomingFileDeleted,
    uploadRunRequested,
    uploadRunStarted,
    uploadRunFinished,
    uploadRunRequeued,
    uploadCandidateSelected,
    uploadCandidateFileMissing,
    uploadAttemptStarted,
    uploadAttemptProgress,
    uploadAttemptSucceeded,
    uploadAttemptFailed,
    uploadResultRecorded,
    uploadStateRecovered,
    uploadIterationReconciled,
    localRetentionCleanupCompleted,
    localRetentionCleanupFailed,
    quorinCloudQidoFetchStarted,
    quorinCloudQidoFetchSucceeded,
    quorinCloudQidoFetchFailed,
    quorinCloudDeleteBatchStarted,
    quorinCloudDeleteBatchCompleted,
    quorinCloudDeleteBatchFailed,
    quorinCloudDeleteStudyStarted,
    quorinCloudDeleteStudySucceeded,
    quorinCloudDeleteStudyFailed,
    quorinCloudSeriesFetchStarted,
    quorinCloudSeriesFetchSucceeded,
    quorinCloudSeriesFetchFailed,
    quorinCloudSeriesDeleteBatchStarted,
    quorinCloudSeriesDeleteBatchCompleted,
    quorinCloudSeriesDeleteBatchFailed,
    quorinCloudSeriesDeleteItemStarted,
    quorinCloudSeriesDeleteItemSucceeded,
    quorinCloudSeriesDeleteItemFailed,
    updaterStarted,
    updaterCheckRequested,
    versionPolicyCheckStarted,
    versionPolicyCheckSucceeded,
    versionPolicyCheckFailed,
    versionPolicyCriticalUpdateDetected,
    versionPolicyNonCriticalUpdateDetected,
    versionPolicyNoUpdate,
    versionPolicyOfflineWarningShown
};

/// The words that stand for the cases in log files, in the system log and in the log browser.
QLatin1StringView rawValue(GatewayLogLevel level);
QLatin1StringView rawValue(GatewayLogCategory category);
QLatin1StringView rawValue(GatewayLogOutcome outcome);
QLatin1StringView rawValue(GatewayLogAction action);

/// The case that a word stands for; nothing for any other text. Case-sensitive.
std::optional<GatewayLogLevel> logLevel(std::string_view raw);
std::optional<GatewayLogCategory> logCategory(std::string_view raw);
std::optional<GatewayLogOutcome> logOutcome(std::string_view raw);
std::optional<GatewayLogAction> logAction(std::string_view raw);

/// A redacted description of an error.
struct GatewayLogError
{
    QString domain;
    qint64 code = 0;
    QString message; ///< "redacted_message_hash=" and a hash; the version policy's alone is in words

    bool operator==(const GatewayLogError &) const = default;
};

/// One structured record of something that the gateway did. Nothing in it identifies a patient: paths,
/// identifiers and error texts come as hashes.
///
/// Thread: any; a plain value.
struct GatewayLogEvent
{
    QString eventId;     ///< a random UUID, upper case, 36 characters
    QDateTime timestamp; ///< UTC, when the event was built
    GatewayLogLevel level = GatewayLogLevel::info;
    GatewayLogCategory category = GatewayLogCategory::listener;
    GatewayLogAction action = GatewayLogAction::listenerStartRequested;
    GatewayLogOutcome outcome = GatewayLogOutcome::started;
    std::optional<QString> correlationId; ///< ties the events of one run or batch together; opaque
    std::optional<QString> assocHash;     ///< redacted identity of an association
    std::optional<QString> fileHash;      ///< redacted identity of a file or another object
    std::optional<qint64> fileSizeBytes;
    std::optional<qint64> attempt;                 ///< counting from 1
    std::optional<QMap<QString, QString>> details; ///< absent instead of empty
    std::optional<GatewayLogError> error;

    bool operator==(const GatewayLogEvent &) const = default;
};

/// The one-line text of an event for people who read the system log: never parsed back, nothing quoted.
/// Level, category and time are not part of it; the system log has fields of its own for them.
QString textForm(const GatewayLogEvent &event);

} // namespace gateway::log
