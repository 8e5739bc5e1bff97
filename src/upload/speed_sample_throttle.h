#pragma once

#include "cloud_client/http_message.h"
#include "platform/concurrency/mutex.h"
#include "upload/upload_collaborators.h"

#include <chrono>
#include <optional>

namespace gateway::upload {

/// Lets through one speed sample an interval, however often a transfer reports its progress.
///
/// Owner: the callback of one transfer. Thread: any.
class SpeedSampleThrottle
{
public:
    explicit SpeedSampleThrottle(std::chrono::nanoseconds minimumInterval)
        : m_minimumInterval(minimumInterval)
    {
    }

    /// \param now  on the clock that never goes back.
    /// \return true when a sample may be taken now; the next one may be after the interval.
    bool takeSample(std::chrono::nanoseconds now);

private:
    const std::chrono::nanoseconds m_minimumInterval;
    platform::Mutex m_mutex;
    std::optional<std::chrono::nanoseconds> m_lastSample QUORIN_GUARDED_BY(m_mutex);
};

/// Tells the live state how fast one transfer is.
///
/// Owner: the attempt. Thread: any; nothing here blocks.
class SpeedSampler
{
public:
    /// Starts counting now.
    explicit SpeedSampler(const UploadCollaborators &collaborators)
        : m_collaborators(collaborators), m_start(collaborators.clock.monotonic())
    {
    }

    /// For the upload's progress: at most one sample a second, of all bytes since the start.
    cloud_client::UploadProgressCallback callback() const;

    /// The sample of a whole transfer; nothing is told for less than a byte.
    void tellWhole(qint64 bytes) const;

    /// Takes the speed back: what is refused wasn't sent, however fast it went.
    void tellRefused() const;

private:
    const UploadCollaborators &m_collaborators;
    const std::chrono::nanoseconds m_start;
};

} // namespace gateway::upload
