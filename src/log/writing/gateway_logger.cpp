#include "log/writing/gateway_logger.h"

#include <chrono>
#include <thread>

namespace gateway::log {

namespace {

/// Waking a sleeping thread costs its caller some 3 microseconds, more than building the event. The writer
/// therefore gathers for so long before it takes what waits: under load that is one wake-up a
/// millisecond, and no reader of a log notices the delay.
constexpr std::chrono::milliseconds kGathering{1};

QString subsystem()
{
    return QStringLiteral("com.ovelt.QuorinGateway");
}

/// A warning counts as an error there, so that a system log that hides lesser types shows it.
platform::SystemLogLevel systemLevel(GatewayLogLevel level)
{
    switch (level) {
    case GatewayLogLevel::debug:
        return platform::SystemLogLevel::debug;
    case GatewayLogLevel::info:
        return platform::SystemLogLevel::info;
    case GatewayLogLevel::warning:
    case GatewayLogLevel::error:
        return platform::SystemLogLevel::error;
    }
    return platform::SystemLogLevel::error;
}

} // namespace

GatewayLogger::GatewayLogger(platform::SystemLog &systemLog, std::unique_ptr<GatewayLogFileSink> fileSink)
    : m_systemLog(systemLog), m_fileSink(std::move(fileSink)),
      m_writeQueue(QStringLiteral("com.ovelt.pavan.gateway.logging.queue"), platform::Quality::utility)
{
}

void GatewayLogger::log(GatewayLogEvent event)
{
    {
        const platform::MutexLock lock(m_mutex);
        if (m_waiting.size() >= kMaxWaitingEvents) {
            ++m_lost;
            return;
        }
        m_waiting.push_back(std::move(event));
        if (m_writerCalled) {
            return; // it takes this event on its way; waking it for each one would slow the caller
        }
        m_writerCalled = true;
    }
    m_writeQueue.async([this] { writeWaiting(); });
}

bool GatewayLogger::awaitWritten(std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    const platform::MutexLock lock(m_mutex);
    while (m_writerCalled && std::chrono::steady_clock::now() < end) {
        m_written.waitUntil(m_mutex, end);
    }
    return !m_writerCalled;
}

void GatewayLogger::writeWaiting()
{
    while (true) {
        std::this_thread::sleep_for(kGathering);
        std::deque<GatewayLogEvent> batch;
        std::size_t lost = 0;
        {
            const platform::MutexLock lock(m_mutex);
            if (m_waiting.empty() && m_lost == 0) {
                m_writerCalled = false;
                m_written.notifyAll();
                return;
            }
            batch.swap(m_waiting);
            std::swap(lost, m_lost);
        }
        for (const GatewayLogEvent &event : batch) {
            write(event);
        }
        if (lost > 0) {
            tellLoss(lost);
        }
    }
}

void GatewayLogger::write(const GatewayLogEvent &event)
{
    const platform::SystemLogLevel level = systemLevel(event.level);
    if (m_systemLog.enabled(level)) {
        m_systemLog.write(level, subsystem(), QString(rawValue(event.category)), textForm(event));
    }
    m_fileSink->write(event);
}

void GatewayLogger::tellLoss(std::size_t lost)
{
    m_systemLog.write(platform::SystemLogLevel::error,
                      subsystem(),
                      QStringLiteral("logging"),
                      QStringLiteral("%1 events were lost while the log could not keep up").arg(lost));
}

} // namespace gateway::log
