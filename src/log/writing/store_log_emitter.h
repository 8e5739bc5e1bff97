#pragma once

#include "log/writing/gateway_logging.h"
#include "platform/concurrency/clock.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QUrl>

#include <optional>

namespace gateway::log {

/// What a service says of an event; the emitter adds identity, time and the redacted view of the file.
struct StoreLogRecord
{
    GatewayLogLevel level = GatewayLogLevel::info;
    GatewayLogCategory category = GatewayLogCategory::listener;
    GatewayLogAction action = GatewayLogAction::listenerStartRequested;
    GatewayLogOutcome outcome = GatewayLogOutcome::started;
    std::optional<QString> correlationId = std::nullopt;
    std::optional<QString> assocHash = std::nullopt;
    std::optional<QUrl> fileURL = std::nullopt;         ///< only its hash and its size reach the event
    std::optional<QString> fileHash = std::nullopt;     ///< of an object that is no file, in place of one
    std::optional<qint64> fileSizeBytes = std::nullopt; ///< stands in for the size of `fileURL`
    std::optional<qint64> attempt = std::nullopt;
    QMap<QString, QString> details = {};
    std::optional<GatewayLogError> error = std::nullopt;
};

/// Builds events for the gateway's services and hands them to the log.
///
/// Owner: Store. Thread: any. Hash and size are made on the calling thread.
class StoreLogEmitter
{
public:
    /// \param logger, clock  outlive the emitter.
    StoreLogEmitter(GatewayLogging &logger, const platform::Clock &clock) : m_logger(logger), m_clock(clock)
    {
    }

    /// Logs one event; never fails.
    void emit(StoreLogRecord record);

private:
    GatewayLogging &m_logger;
    const platform::Clock &m_clock;
};

} // namespace gateway::log
