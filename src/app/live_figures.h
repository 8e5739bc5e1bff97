#pragma once

#include "platform/concurrency/clock.h"
#include "receive/receive_state.h"
#include "upload/upload_ports.h"

#include <QtCore/QSet>
#include <QtCore/QString>

#include <chrono>

namespace gateway::app {

/// What moves while the gateway works: who is sending to it, and how fast it sends itself.
///
/// Owner: Gateway. Thread: main.
class LiveFigures final : public receive::ReceiveState, public upload::UploadState
{
public:
    explicit LiveFigures(const platform::Clock &clock) : m_clock(clock) {}

    void beginReceiveAssociation(const QString &association) override;
    void endReceiveAssociation(const QString &association) override;
    void clearReceiveAssociations() override;
    void recordReceivedItem() override { ++m_receivedItems; }

    // Counters are read from the index when somebody asks for them.
    void refreshCounters() override {}
    void refreshTransferSeries() override {}

    void recordUploadThroughput(qint64 bytes, std::chrono::duration<double> elapsed) override;

    /// Associations that are open now.
    int openAssociations() const { return static_cast<int>(m_associations.size()); }

    /// Files received since the start of the program.
    qint64 receivedItems() const { return m_receivedItems; }

    /// The upload speed of late, in megabits per second; 0 when nothing was sent for 8 seconds.
    double uploadSpeedMbps() const;

private:
    const platform::Clock &m_clock;
    QSet<QString> m_associations;
    qint64 m_receivedItems = 0;
    double m_speedMbps = 0;
    std::chrono::nanoseconds m_speedAt{0};
};

} // namespace gateway::app
