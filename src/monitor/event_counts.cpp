#include "monitor/event_counts.h"

namespace gateway::monitor {

void EventCounts::peersTurnedAway(const QString &reason, qint64 count)
{
    const platform::MutexLock lock(m_mutex);
    m_turnedAway[reason] += count;
}

void EventCounts::fileReceived(qint64 bytes)
{
    ++m_receivedImages;
    m_receivedBytes += bytes;
}

EventTotals EventCounts::totals() const
{
    const platform::MutexLock lock(m_mutex);
    return {.associations = m_associations,
            .failedAssociations = m_failedAssociations,
            .receivedImages = m_receivedImages,
            .receivedBytes = m_receivedBytes,
            .failedImports = m_failedImports,
            .uploadedImages = m_uploadedImages,
            .uploadedBytes = m_uploadedBytes,
            .failedUploads = m_failedUploads,
            .listenerFailures = m_listenerFailures,
            .turnedAway = m_turnedAway};
}

} // namespace gateway::monitor
