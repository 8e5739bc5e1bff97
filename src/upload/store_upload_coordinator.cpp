#include "upload/store_upload_coordinator.h"

#include "log/redaction.h"

namespace gateway::upload {

namespace {

log::StoreLogRecord event(log::GatewayLogAction action, log::GatewayLogOutcome outcome, Details details)
{
    return {.category = log::GatewayLogCategory::uploadQueue,
            .action = action,
            .outcome = outcome,
            .details = std::move(details)};
}

Details requestDetails(const StoreUpload::ExecutionConfig &config, const QString &trigger)
{
    Details details = StoreUpload::executionDetails(config);
    details.insert(QStringLiteral("trigger"), trigger);
    return details;
}

} // namespace

StoreUploadCoordinator::StoreUploadCoordinator(log::StoreLogEmitter &emitter,
                                               ReadConfig readConfig,
                                               PerformRun performRun)
    : m_emitter(emitter), m_readConfig(std::move(readConfig)), m_performRun(std::move(performRun)),
      m_uploadCoordinationQueue(QStringLiteral("com.ovelt.pavan.gateway.cloudUpload.queue"))
{
}

StoreUploadCoordinator::~StoreUploadCoordinator()
{
    platform::Task running;
    m_uploadCoordinationQueue.sync([this, &running] {
        m_closing = true;
        running = std::move(m_uploadTask);
    });
    running.cancel();
    running.join();
}

void StoreUploadCoordinator::requestUploadRun(const QString &trigger)
{
    m_emitter.emit(event(log::GatewayLogAction::uploadRunRequested,
                         log::GatewayLogOutcome::queued,
                         requestDetails(m_readConfig(), trigger)));
    m_uploadCoordinationQueue.async([this, trigger] { startOrRequeue(trigger); });
}

void StoreUploadCoordinator::startOrRequeue(const QString &trigger)
{
    if (m_closing) {
        return;
    }
    const StoreUpload::ExecutionConfig config = m_readConfig();
    if (!m_uploadTask.isSet()) {
        start(trigger, config);
        return;
    }
    m_uploadRequestedWhileRunning = true;
    Details details = requestDetails(config, trigger);
    details.insert(QStringLiteral("reason"), QStringLiteral("run_already_in_progress"));
    m_emitter.emit(
        event(log::GatewayLogAction::uploadRunRequeued, log::GatewayLogOutcome::queued, std::move(details)));
}

void StoreUploadCoordinator::start(const QString &trigger, const StoreUpload::ExecutionConfig &config)
{
    const QString runId = log::newUuidText();
    log::StoreLogRecord started = event(log::GatewayLogAction::uploadRunStarted,
                                        log::GatewayLogOutcome::started,
                                        requestDetails(config, trigger));
    started.correlationId = runId;
    m_emitter.emit(std::move(started));
    m_uploadTask = platform::Task("uploadRun", [this, runId, config](const std::stop_token &stop) {
        const StoreUpload::RunSummary summary = m_performRun(runId, config, stop);
        m_uploadCoordinationQueue.async([this, runId, summary] { finish(runId, summary); });
    });
}

void StoreUploadCoordinator::finish(const QString &runId, const StoreUpload::RunSummary &summary)
{
    if (m_closing) {
        return;
    }
    m_uploadTask.join(); // it has nothing left to do
    log::StoreLogRecord finished = event(log::GatewayLogAction::uploadRunFinished,
                                         log::GatewayLogOutcome::completed,
                                         StoreUpload::summaryDetails(summary));
    finished.correlationId = runId;
    m_emitter.emit(std::move(finished));
    if (std::exchange(m_uploadRequestedWhileRunning, false)) {
        requestUploadRun(QStringLiteral("deferred_while_running"));
    }
}

} // namespace gateway::upload
