#include "updates/gateway_version_policy_service.h"

#include "cloud_client/qrn_versions_api.h"
#include "cloud_client/quorin_error.h"
#include "core/settings.h"
#include "log/writing/store_log_emitter.h"
#include "platform/concurrency/async.h"
#include "platform/concurrency/async_sleep.h"
#include "platform/concurrency/main_thread.h"
#include "state/update_banner.h"
#include "updates/alert.h"
#include "updates/pending_answer.h"

#include <utility>

namespace gateway::updates {

using log::GatewayLogAction;
using log::GatewayLogLevel;
using log::GatewayLogOutcome;

namespace {

QString word(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

/// In words: a request for the version policy tells nothing of a patient, so nothing of one can come back.
log::GatewayLogError inWords(const std::exception &error)
{
    const auto *known = dynamic_cast<const cloud_client::QuorinError *>(&error);
    return {.domain = QStringLiteral("GatewayVersionPolicyService"),
            .code = known != nullptr ? known->code : 0,
            .message = cloud_client::localizedDescription(error)};
}

/// True when `date` is there and less than `span` ago.
bool isWithin(const std::optional<QDateTime> &date, const QDateTime &now, std::chrono::seconds span)
{
    return date && date->msecsTo(now) < std::chrono::milliseconds(span).count();
}

} // namespace

GatewayVersionPolicyService::GatewayVersionPolicyService(Collaborators collaborators, const Runtime &runtime)
    : m_collaborators(std::move(collaborators)), m_runtime(runtime), m_scope(runtime.main, runtime.pool)
{
    platform::assertMainThread("GatewayVersionPolicyService");
}

GatewayVersionPolicyService::~GatewayVersionPolicyService()
{
    close();
}

void GatewayVersionPolicyService::start()
{
    if (m_periodicCheckTask) {
        return;
    }
    m_periodicCheckTask.emplace();
    m_scope.start(runCheck(QStringLiteral("launch")));
    m_scope.start(checkEachDay(m_periodicCheckTask->get_token()));
}

void GatewayVersionPolicyService::stop()
{
    if (m_periodicCheckTask) {
        m_periodicCheckTask->request_stop();
        m_periodicCheckTask.reset();
    }
}

void GatewayVersionPolicyService::close()
{
    stop();
    if (m_openAlert) {
        m_openAlert->give(
            false); // the check goes on when the scope below drains it, and finds that all is over
    }
    m_scope.close();
}

QCoro::Task<> GatewayVersionPolicyService::checkEachDay(std::stop_token stop)
{
    while (!stop.stop_requested()) {
        const bool sleptThrough =
            co_await platform::asyncSleep(m_runtime.main, m_runtime.clock, kCheckInterval, stop);
        if (!sleptThrough || stop.stop_requested()) {
            break;
        }
        co_await runCheck(QStringLiteral("scheduled_24h"));
    }
}

QCoro::Task<> GatewayVersionPolicyService::runCheck(QString trigger)
{
    if (m_isChecking || m_scope.stopToken().stop_requested()) {
        co_return;
    }
    const auto operation = m_scope.enter();
    m_isChecking = true;
    emit(GatewayLogAction::versionPolicyCheckStarted,
         GatewayLogLevel::info,
         GatewayLogOutcome::started,
         {{QStringLiteral("trigger"), trigger}});
    const Answer answer = co_await checkVersions();
    if (!m_scope.stopToken().stop_requested()) {
        co_await applyAnswer(trigger, answer);
    }
    m_isChecking = false;
}

QCoro::Task<GatewayVersionPolicyService::Answer> GatewayVersionPolicyService::checkVersions()
{
    Answer answer;
    try {
        const cloud_client::QrnVersionsResponse result =
            co_await platform::onPool(m_runtime.main, m_runtime.pool, [api = &m_collaborators.versionsAPI] {
                return api->checkVersions();
            });
        answer = result;
    } catch (const std::exception &error) {
        answer = inWords(error);
    }
    co_return answer;
}

QCoro::Task<> GatewayVersionPolicyService::applyAnswer(QString trigger, Answer answer)
{
    if (const auto *error = std::get_if<log::GatewayLogError>(&answer)) {
        noteFailure(trigger, *error);
        co_await evaluateOfflineWarning(m_runtime.clock.now());
    } else {
        const auto result = std::get<cloud_client::QrnVersionsResponse>(answer);
        noteSuccess(trigger, result);
        co_await applyResult(result);
    }
}

void GatewayVersionPolicyService::noteSuccess(const QString &trigger,
                                              const cloud_client::QrnVersionsResponse &result)
{
    m_collaborators.settings.gatewayUpdatePolicyLastSuccessAt.set(m_runtime.clock.now());
    m_collaborators.settings.gatewayUpdatePolicyLastFailureAt.set(std::nullopt);
    emit(GatewayLogAction::versionPolicyCheckSucceeded,
         GatewayLogLevel::info,
         GatewayLogOutcome::succeeded,
         {{QStringLiteral("trigger"), trigger},
          {QStringLiteral("critical"), word(result.critical)},
          {QStringLiteral("nonCritical"), word(result.nonCritical)},
          {QStringLiteral("unsupportedOS"), word(result.unsupportedOS)}});
}

/// The date of the last failure is that of the first one since the last success.
void GatewayVersionPolicyService::noteFailure(const QString &trigger, const log::GatewayLogError &error)
{
    if (!m_collaborators.settings.gatewayUpdatePolicyLastFailureAt.get()) {
        m_collaborators.settings.gatewayUpdatePolicyLastFailureAt.set(m_runtime.clock.now());
    }
    emit(GatewayLogAction::versionPolicyCheckFailed,
         GatewayLogLevel::warning,
         GatewayLogOutcome::failed,
         {{QStringLiteral("trigger"), trigger}},
         error);
}

QCoro::Task<> GatewayVersionPolicyService::applyResult(cloud_client::QrnVersionsResponse result)
{
    if (result.critical) {
        m_collaborators.showBanner(state::criticalUpdateBanner());
        emit(GatewayLogAction::versionPolicyCriticalUpdateDetected,
             GatewayLogLevel::warning,
             GatewayLogOutcome::succeeded);
        co_await promptForCriticalUpdate();
    } else if (result.nonCritical) {
        m_collaborators.showBanner(state::installsOnQuitBanner());
        emit(GatewayLogAction::versionPolicyNonCriticalUpdateDetected,
             GatewayLogLevel::info,
             GatewayLogOutcome::succeeded);
    } else {
        m_collaborators.showBanner(std::nullopt);
        emit(GatewayLogAction::versionPolicyNoUpdate, GatewayLogLevel::debug, GatewayLogOutcome::succeeded);
    }
}

QCoro::Task<> GatewayVersionPolicyService::promptForCriticalUpdate()
{
    const QDateTime now = m_runtime.clock.now();
    if (isWithin(m_collaborators.settings.gatewayCriticalUpdatePromptLastShownAt.get(),
                 now,
                 kCriticalPromptThrottle)) {
        co_return;
    }
    m_collaborators.settings.gatewayCriticalUpdatePromptLastShownAt.set(now);
    const bool isWanted = co_await ask(criticalUpdateAlert());
    if (isWanted && !m_scope.stopToken().stop_requested()) {
        m_collaborators.updaterService.checkForUpdates(QStringLiteral("critical_policy_prompt"));
    }
}

/// A gateway that never reached the service counts from its first failure.
bool GatewayVersionPolicyService::isOfflineWarningDue(const QDateTime &now) const
{
    std::optional<QDateTime> since = m_collaborators.settings.gatewayUpdatePolicyLastSuccessAt.get();
    if (!since) {
        since = m_collaborators.settings.gatewayUpdatePolicyLastFailureAt.get();
    }
    return since && !isWithin(since, now, kLongOfflineThreshold) &&
           !isWithin(m_collaborators.settings.gatewayOfflineUpdateWarningLastShownAt.get(),
                     now,
                     kOfflineWarningThrottle);
}

QCoro::Task<> GatewayVersionPolicyService::evaluateOfflineWarning(QDateTime now)
{
    if (!isOfflineWarningDue(now)) {
        co_return;
    }
    m_collaborators.settings.gatewayOfflineUpdateWarningLastShownAt.set(now);
    m_collaborators.showBanner(state::longUncheckedBanner());
    emit(GatewayLogAction::versionPolicyOfflineWarningShown,
         GatewayLogLevel::warning,
         GatewayLogOutcome::succeeded);
    co_await ask(longUncheckedAlert());
}

QCoro::Task<bool> GatewayVersionPolicyService::ask(Alert alert)
{
    m_openAlert = std::make_shared<PendingAnswer>(m_runtime.main);
    const bool accepted = co_await updates::ask(m_collaborators.alerts, std::move(alert), m_openAlert);
    m_openAlert.reset();
    co_return accepted;
}

void GatewayVersionPolicyService::emit(GatewayLogAction action,
                                       GatewayLogLevel level,
                                       GatewayLogOutcome outcome,
                                       QMap<QString, QString> details,
                                       std::optional<log::GatewayLogError> error)
{
    m_collaborators.emitter.emit({.level = level,
                                  .category = log::GatewayLogCategory::updater,
                                  .action = action,
                                  .outcome = outcome,
                                  .details = std::move(details),
                                  .error = std::move(error)});
}

} // namespace gateway::updates
