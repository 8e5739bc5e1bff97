#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <cstdint>
#include <limits>
#include <optional>

namespace gateway::index {

/// The last failure of a stored file that isn't uploaded.
struct UploadFailure
{
    QString storagePath; ///< the file's `pathString`
    QUrl fileURL;
    QString sopInstanceUID;   ///< as it stands in the file; empty when there is none
    QString studyInstanceUID; ///< empty when there is none
    QString failureClass;     ///< a short word; whoever records failures gives the words
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
