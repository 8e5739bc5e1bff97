#pragma once

#include "index/retry_index.h"
#include "index/upload_failure.h"

#include <QtCore/QList>

#include <chrono>
#include <cstdint>
#include <functional>

namespace gateway::platform {
class Clock;
class Database;
} // namespace gateway::platform

namespace gateway::index {

class FileStore;
class IndexStore;

/// Why files that wait were not uploaded, and for how long they wait.
///
/// Owner: DicomDB. Thread: any. Nothing here throws; what can't be read shows as nothing.
class FailedUploads final : public RetryIndex
{
public:
    /// No file waits for longer than this for its next try.
    static constexpr std::chrono::hours kLongestWait{24};

    FailedUploads(IndexStore &store, const FileStore &files, const platform::Clock &clock)
        : m_store(store), m_files(files), m_clock(clock)
    {
    }

    std::optional<QDateTime> nextRetry() const override;
    void releaseRetries() override;

    /// The same for the files of one study. \param identity  the `id` of a study's snapshot.
    void releaseRetriesOf(const QString &identity);

    /// The files that wait for their time. Takes longer the more there are.
    WaitingRetries waitingRetries() const;

    /// The next failures behind `cursor`, newest first, at most `limit` (below 1 counts as 1); the cursor
    /// moves past them.
    QList<UploadFailure> next(int limit, UploadFailureCursor &cursor) const;

    /// How many stored files have failed last with which class and code, the most frequent first.
    QList<UploadFailureCount> counts() const;

private:
    using Release = std::function<void(platform::Database &database, int atOnce)>;

    void releaseInParts(const Release &release);
    std::int64_t nowInMilliseconds() const;

    IndexStore &m_store; // borrowed, outlive this
    const FileStore &m_files;
    const platform::Clock &m_clock;
};

} // namespace gateway::index
