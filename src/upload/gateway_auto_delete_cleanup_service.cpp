#include "upload/gateway_auto_delete_cleanup_service.h"

#include <utility>

namespace gateway::upload {

/// One cleanup's claim to be the only one, given back on every way out.
class GatewayAutoDeleteCleanupService::Running
{
public:
    explicit Running(GatewayAutoDeleteCleanupService &service) : m_service(service)
    {
        const platform::MutexLock lock(m_service.m_stateLock);
        m_isOurs = !std::exchange(m_service.m_isCleanupRunning, true);
    }

    ~Running()
    {
        if (m_isOurs) {
            const platform::MutexLock lock(m_service.m_stateLock);
            m_service.m_isCleanupRunning = false;
        }
    }

    Running(const Running &) = delete;
    Running &operator=(const Running &) = delete;

    bool isOurs() const { return m_isOurs; }

private:
    GatewayAutoDeleteCleanupService &m_service;
    bool m_isOurs = false;
};

GatewayAutoDeleteCleanupService::GatewayAutoDeleteCleanupService(Collaborators collaborators)
    : m_collaborators(std::move(collaborators)),
      m_queue(QStringLiteral("com.ovelt.pavan.gateway.autoDelete.queue"), platform::Quality::utility)
{
}

GatewayAutoDeleteCleanupService::~GatewayAutoDeleteCleanupService()
{
    m_closing = true;
}

void GatewayAutoDeleteCleanupService::runCleanup(const QString &trigger,
                                                 const std::optional<QString> &correlationId,
                                                 const std::optional<QDateTime> &overrideCutoff)
{
    m_queue.async([this, trigger, correlationId, overrideCutoff] {
        if (!m_closing) {
            performCleanup(trigger, correlationId, overrideCutoff);
        }
    });
}

std::optional<index::LocalPruneResult>
GatewayAutoDeleteCleanupService::performCleanup(const QString &trigger,
                                                const std::optional<QString> &correlationId,
                                                const std::optional<QDateTime> &overrideCutoff)
{
    const Running running(*this);
    if (!running.isOurs()) {
        return std::nullopt; // the next trigger catches up
    }
    const QDateTime now = overrideCutoff ? *overrideCutoff : m_collaborators.dateProvider();
    const std::optional<QDateTime> cutoff = m_collaborators.cutoffDateProvider(now);
    if (!cutoff || (!overrideCutoff && !mayTrustClock(trigger, correlationId))) {
        return std::nullopt;
    }
    const index::LocalPruneResult result = m_collaborators.pruner(*cutoff);
    tell(result, trigger, correlationId);
    const bool changed = result.deletedImageCount != 0 || result.deletedSeriesCount != 0 ||
                         result.deletedStudyCount != 0 || result.deletedFileCount != 0;
    if (changed) {
        m_collaborators.main.post(m_collaborators.appStateRefreshHandler);
    }
    return result;
}

/// Says so in the log when a doubt begins, and not at each trigger while it lasts.
bool GatewayAutoDeleteCleanupService::mayTrustClock(const QString &trigger,
                                                    const std::optional<QString> &correlationId)
{
    const bool isBelieved = m_collaborators.isClockBelieved();
    if (!m_isHeldBack.exchange(!isBelieved) && !isBelieved) {
        log::StoreLogRecord record;
        record.level = log::GatewayLogLevel::warning;
        record.category = log::GatewayLogCategory::uploadQueue;
        record.action = log::GatewayLogAction::localRetentionCleanupCompleted;
        record.outcome = log::GatewayLogOutcome::skipped;
        record.correlationId = correlationId;
        record.details = {{QStringLiteral("trigger"), trigger},
                          {QStringLiteral("reason"), QStringLiteral("clock_in_doubt")}};
        m_collaborators.logger.emit(std::move(record));
    }
    return isBelieved;
}

void GatewayAutoDeleteCleanupService::tell(const index::LocalPruneResult &result,
                                           const QString &trigger,
                                           const std::optional<QString> &correlationId)
{
    log::StoreLogRecord record;
    record.level = result.failedImageCount < 1 ? log::GatewayLogLevel::info : log::GatewayLogLevel::warning;
    record.category = log::GatewayLogCategory::uploadQueue;
    record.action = log::GatewayLogAction::localRetentionCleanupCompleted;
    record.outcome = log::GatewayLogOutcome::completed;
    record.correlationId = correlationId;
    record.details = {
        {QStringLiteral("trigger"), trigger},
        {QStringLiteral("eligible_images"), QString::number(result.eligibleImageCount)},
        {QStringLiteral("deleted_images"), QString::number(result.deletedImageCount)},
        {QStringLiteral("deleted_series"), QString::number(result.deletedSeriesCount)},
        {QStringLiteral("deleted_studies"), QString::number(result.deletedStudyCount)},
        {QStringLiteral("deleted_files"), QString::number(result.deletedFileCount)},
        {QStringLiteral("failed_images"), QString::number(result.failedImageCount)},
    };
    m_collaborators.logger.emit(std::move(record));
}

} // namespace gateway::upload
