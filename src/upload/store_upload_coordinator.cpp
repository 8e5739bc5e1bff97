#include "upload/store_upload_coordinator.h"

#include "log/writing/redaction.h"

#include <algorithm>
#include <utility>

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

StoreUploadCoordinator::StoreUploadCoordinator(Collaborators collaborators)
    : m_collaborators(std::move(collaborators)), m_gate(m_collaborators.clock, m_collaborators.random),
      m_uploadCoordinationQueue(QStringLiteral("com.ovelt.pavan.gateway.cloudUpload.queue"))
{
}

StoreUploadCoordinator::~StoreUploadCoordinator()
{
    platform::Task running;
    platform::Task timer;
    m_uploadCoordinationQueue.sync([this, &running, &timer] {
        m_closing = true;
        running = std::move(m_uploadTask);
        timer = std::move(m_timer);
    });
    timer.cancel();
    running.cancel();
    running.join();
    timer.join();
}

void StoreUploadCoordinator::requestUploadRun(const QString &trigger, UploadUrgency urgency)
{
    m_collaborators.emitter.emit(event(log::GatewayLogAction::uploadRunRequested,
                                       log::GatewayLogOutcome::queued,
                                       requestDetails(m_collaborators.readConfig(), trigger)));
    m_uploadCoordinationQueue.async([this, trigger, urgency] { startOrRequeue(trigger, urgency); });
}

void StoreUploadCoordinator::startOrRequeue(const QString &trigger, UploadUrgency urgency)
{
    if (m_closing) {
        return;
    }
    openFor(urgency);
    if (m_uploadTask.isSet()) {
        m_requestedWhileRunning = std::max(urgency, m_requestedWhileRunning.value_or(urgency));
        Details details = requestDetails(m_collaborators.readConfig(), trigger);
        details.insert(QStringLiteral("reason"), QStringLiteral("run_already_in_progress"));
        m_collaborators.emitter.emit(event(
            log::GatewayLogAction::uploadRunRequeued, log::GatewayLogOutcome::queued, std::move(details)));
    } else if (m_gate.isOpen()) {
        start(trigger, m_collaborators.readConfig());
    } // else the run that begins when the gate opens finds whatever this one would have
}

void StoreUploadCoordinator::openFor(UploadUrgency urgency)
{
    switch (urgency) {
    case UploadUrgency::whenOpen:
        break;
    case UploadUrgency::unlessAskedToWait:
        if (const auto closure = m_gate.closure(); closure && !closure->wasAskedFor) {
            m_gate.open();
        }
        break;
    case UploadUrgency::openNow:
        m_gate.open();
        break;
    case UploadUrgency::everythingNow:
        m_collaborators.retries.releaseRetries();
        m_gate.open();
        break;
    }
}

void StoreUploadCoordinator::start(const QString &trigger, StoreUpload::ExecutionConfig config)
{
    const QString runId = log::newUuidText();
    log::StoreLogRecord started = event(log::GatewayLogAction::uploadRunStarted,
                                        log::GatewayLogOutcome::started,
                                        requestDetails(config, trigger));
    started.correlationId = runId;
    m_collaborators.observer.runStarted(config);
    m_collaborators.emitter.emit(std::move(started));
    config.probesFirst = m_gate.isTroubled();
    m_uploadTask = platform::Task("uploadRun", [this, runId, config](const std::stop_token &stop) {
        const StoreUpload::RunSummary summary = m_collaborators.performRun(runId, config, stop);
        m_uploadCoordinationQueue.async([this, runId, summary] { finish(runId, summary); });
    });
}

void StoreUploadCoordinator::finish(const QString &runId, const StoreUpload::RunSummary &summary)
{
    if (m_closing) {
        return;
    }
    m_uploadTask.join(); // it has nothing left to do
    m_gate.runEnded(summary);
    log::StoreLogRecord finished = event(log::GatewayLogAction::uploadRunFinished,
                                         log::GatewayLogOutcome::completed,
                                         StoreUpload::summaryDetails(summary));
    finished.correlationId = runId;
    m_collaborators.observer.runFinished(summary, m_collaborators.clock.now());
    m_collaborators.emitter.emit(std::move(finished));
    if (const auto wanted = std::exchange(m_requestedWhileRunning, std::nullopt)) {
        openFor(*wanted);
        if (m_gate.isOpen()) {
            requestUploadRun(QStringLiteral("deferred_while_running"));
            return; // the timer is set when that one has ended
        }
    }
    setTimer();
}

/// Sets the timer for the moment when the gate opens, else for that when a file's time comes.
void StoreUploadCoordinator::setTimer()
{
    const std::optional<std::chrono::nanoseconds> wait =
        m_gate.isTroubled() ? m_gate.remaining() : untilNextRetry();
    if (!wait) {
        return;
    }
    m_timer = platform::Task("uploadTimer", [this, wait = *wait](const std::stop_token &stop) {
        if (m_collaborators.clock.sleep(wait, stop)) {
            m_uploadCoordinationQueue.async([this] { timerFired(); });
        }
    });
}

void StoreUploadCoordinator::timerFired()
{
    if (m_closing || m_uploadTask.isSet()) {
        return; // the run that is under way sets it anew
    }
    if (m_gate.isTroubled()) {
        if (m_gate.isOpen()) {
            requestUploadRun(QStringLiteral("pause_over"));
        } else {
            setTimer();
        }
        return;
    }
    const std::optional<QDateTime> next = m_collaborators.retries.nextRetry();
    if (next && *next <= m_collaborators.clock.now()) {
        requestUploadRun(QStringLiteral("retry_due"));
    } else {
        setTimer();
    }
}

/// The time until a file is to be tried again, or until the clock is to be looked at again: it may be set.
std::optional<std::chrono::nanoseconds> StoreUploadCoordinator::untilNextRetry() const
{
    constexpr std::chrono::milliseconds kSoonest =
        std::chrono::seconds(5); // also where nothing can be written
    constexpr std::chrono::milliseconds kLatest = std::chrono::minutes(5);
    const std::optional<QDateTime> next = m_collaborators.retries.nextRetry();
    if (!next) {
        return std::nullopt;
    }
    return std::clamp(
        std::chrono::milliseconds(m_collaborators.clock.now().msecsTo(*next)), kSoonest, kLatest);
}

} // namespace gateway::upload
