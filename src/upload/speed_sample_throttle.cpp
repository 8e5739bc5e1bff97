#include "upload/speed_sample_throttle.h"

#include <memory>

namespace gateway::upload {

namespace {

constexpr std::chrono::seconds kMinimumInterval{1}; // the figure on the screen is read by people

void tell(const UploadCollaborators &collaborators, qint64 bytes, std::chrono::nanoseconds elapsed)
{
    if (bytes < 1 || elapsed.count() <= 0) {
        return;
    }
    collaborators.main.post(
        [&state = collaborators.state, bytes, elapsed] { state.recordUploadThroughput(bytes, elapsed); });
}

} // namespace

bool SpeedSampleThrottle::takeSample(std::chrono::nanoseconds now)
{
    const platform::MutexLock lock(m_mutex);
    if (m_lastSample && now - *m_lastSample < m_minimumInterval) {
        return false;
    }
    m_lastSample = now;
    return true;
}

cloud_client::UploadProgressCallback SpeedSampler::callback() const
{
    return [throttle = std::make_shared<SpeedSampleThrottle>(kMinimumInterval),
            &collaborators = m_collaborators,
            start = m_start](const cloud_client::UploadProgress &progress) {
        const std::chrono::nanoseconds now = collaborators.clock.monotonic();
        if (throttle->takeSample(now)) {
            tell(collaborators, progress.completedUnitCount, now - start);
        }
    };
}

void SpeedSampler::tellWhole(qint64 bytes) const
{
    tell(m_collaborators, bytes, m_collaborators.clock.monotonic() - m_start);
}

void SpeedSampler::tellRefused() const
{
    m_collaborators.main.post([&state = m_collaborators.state] { state.resetUploadSpeed(); });
}

} // namespace gateway::upload
