#pragma once

#include "platform/concurrency/mutex.h"
#include "receive/receive_observer.h"
#include "upload/run_observer.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QtGlobal>

#include <atomic>

namespace gateway::monitor {

/// What has happened since the program started.
struct EventTotals
{
    qint64 associations = 0;
    qint64 failedAssociations = 0;
    qint64 receivedImages = 0; ///< files that came over the DICOM network
    qint64 receivedBytes = 0;
    qint64 failedImports = 0;
    qint64 uploadedImages = 0; ///< files that the cloud is proven to hold
    qint64 uploadedBytes = 0;  ///< of successful requests, as they went over the network
    qint64 failedUploads = 0;  ///< files whose upload failed; tried again they count again
    qint64 listenerFailures = 0;
    QMap<QString, qint64> turnedAway = {}; ///< peers that were turned away, by the reason
};

/// Counts what operators watch.
///
/// Owner: Ground. Thread: any.
class EventCounts final : public receive::ReceiveObserver, public upload::RunObserver
{
public:
    void associationStarted() override { ++m_associations; }
    void associationFailed() override { ++m_failedAssociations; }
    void peersTurnedAway(const QString &reason, qint64 count) override;
    void fileReceived(qint64 bytes) override;
    void importFailed() override { ++m_failedImports; }
    void listenerFailed() override { ++m_listenerFailures; }

    void requestSucceeded(qint64 bytes) override { m_uploadedBytes += bytes; }
    void fileEnded(bool isSynced) override { ++(isSynced ? m_uploadedImages : m_failedUploads); }

    EventTotals totals() const;

private:
    std::atomic<qint64> m_associations = 0;
    std::atomic<qint64> m_failedAssociations = 0;
    std::atomic<qint64> m_receivedImages = 0;
    std::atomic<qint64> m_receivedBytes = 0;
    std::atomic<qint64> m_failedImports = 0;
    std::atomic<qint64> m_uploadedImages = 0;
    std::atomic<qint64> m_uploadedBytes = 0;
    std::atomic<qint64> m_failedUploads = 0;
    std::atomic<qint64> m_listenerFailures = 0;
    mutable platform::Mutex m_mutex;
    QMap<QString, qint64> m_turnedAway QUORIN_GUARDED_BY(m_mutex);
};

} // namespace gateway::monitor
