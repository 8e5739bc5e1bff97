#pragma once

#include "log/writing/gateway_log_file_sink.h"
#include "log/writing/gateway_logging.h"
#include "platform/concurrency/mutex.h"
#include "platform/concurrency/serial_queue.h"
#include "platform/system_log/system_log.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>

namespace gateway::log {

/// Writes events to the system log and then to the log files, both on its own queue.
///
/// The events of one thread are written in the order of their `log` calls. While a disk stalls, at most
/// `kMaxWaitingEvents` wait; what comes beyond is lost, and the system log is told how many.
///
/// Owner: app. Thread: any. The destructor writes what still waits.
class GatewayLogger final : public GatewayLogging
{
public:
    /// At about one KiB each they hold some 16 MiB: seconds of the busiest traffic, and no danger to memory.
    static constexpr std::size_t kMaxWaitingEvents = 16'384;

    /// \param systemLog  outlives the logger.
    GatewayLogger(platform::SystemLog &systemLog, std::unique_ptr<GatewayLogFileSink> fileSink);

    /// Takes the event and returns at once.
    void log(GatewayLogEvent event) override;

    /// Waits until what was logged before is written, but no longer than for `patience`: a disk may stall.
    ///
    /// \return whether it is written.
    bool awaitWritten(std::chrono::milliseconds patience) QUORIN_EXCLUDES(m_mutex);

private:
    void writeWaiting();
    void write(const GatewayLogEvent &event);
    void tellLoss(std::size_t lost);

    platform::SystemLog &m_systemLog;
    const std::unique_ptr<GatewayLogFileSink> m_fileSink; // used on the queue only

    platform::Mutex m_mutex;
    platform::Condition m_written;
    std::deque<GatewayLogEvent> m_waiting QUORIN_GUARDED_BY(m_mutex);
    std::size_t m_lost QUORIN_GUARDED_BY(m_mutex) = 0;
    bool m_writerCalled QUORIN_GUARDED_BY(m_mutex) = false;

    platform::SerialQueue m_writeQueue; // last: drained before the fields go
};

} // namespace gateway::log
