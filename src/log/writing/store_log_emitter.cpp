#include "log/writing/store_log_emitter.h"

#include "log/writing/redaction.h"

namespace gateway::log {

void StoreLogEmitter::emit(StoreLogRecord record)
{
    GatewayLogEvent event;
    event.eventId = newUuidText();
    event.timestamp = m_clock.now();
    event.level = record.level;
    event.category = record.category;
    event.action = record.action;
    event.outcome = record.outcome;
    event.correlationId = std::move(record.correlationId);
    event.assocHash = std::move(record.assocHash);
    event.fileHash = record.fileHash ? std::move(record.fileHash) : hashedFileURL(record.fileURL);
    event.fileSizeBytes = record.fileSizeBytes ? record.fileSizeBytes : fileSizeBytes(record.fileURL);
    event.attempt = record.attempt;
    if (!record.details.isEmpty()) {
        event.details = std::move(record.details);
    }
    event.error = std::move(record.error);
    m_logger.log(std::move(event));
}

} // namespace gateway::log
