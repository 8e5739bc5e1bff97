#pragma once

#include "log/writing/gateway_log_event.h"
#include "platform/concurrency/task_scope.h"
#include "updates/gateway_updater_service.h"

#include <QCoro/QCoroTask>

#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>
#include <variant>

namespace gateway::cloud_client {
class QrnVersionsAPIProtocol;
struct QrnVersionsResponse;
} // namespace gateway::cloud_client

namespace gateway::core {
class Settings;
}

namespace gateway::log {
class StoreLogEmitter;
}

namespace gateway::platform {
class Clock;
}

namespace gateway::updates {

class Alerts;
struct Alert;
class PendingAnswer;

/// Asks the cloud once a day whether this build may stay in use, and makes a banner, a prompt and events of
/// the answer; notices too when nobody could be asked for a month. Neither stops the listener or an upload.
///
/// Owner: app; exactly one exists. Thread: main.
class GatewayVersionPolicyService
{
public:
    /// All outlive the service.
    struct Collaborators
    {
        cloud_client::QrnVersionsAPIProtocol &versionsAPI;
        GatewayUpdaterService &updaterService;
        log::StoreLogEmitter &emitter;
        core::Settings &settings;
        Alerts &alerts;
        ShowUpdateBanner showBanner;
    };

    /// Where it runs. All outlive the service.
    struct Runtime
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
    };

    static constexpr std::chrono::nanoseconds kCheckInterval{86'400'000'000'000};
    static constexpr std::chrono::seconds kLongOfflineThreshold{2'592'000};
    static constexpr std::chrono::seconds kCriticalPromptThrottle{21'600};
    static constexpr std::chrono::seconds kOfflineWarningThrottle{86'400};

    GatewayVersionPolicyService(Collaborators collaborators, const Runtime &runtime);
    ~GatewayVersionPolicyService();

    GatewayVersionPolicyService(const GatewayVersionPolicyService &) = delete;
    GatewayVersionPolicyService &operator=(const GatewayVersionPolicyService &) = delete;

    /// Checks with the trigger "launch", and from then on once a day until `stop`. While the daily checks run
    /// a call does nothing.
    void start();

    /// Ends the daily checks; one that is under way goes on.
    void stop();

    /// Checks, unless a check is under way: then it returns at once. A check is over when its alert has been
    /// answered.
    ///
    /// \param trigger  a word for the log: "launch" or "scheduled_24h".
    QCoro::Task<> runCheck(QString trigger);

    /// Ends the daily checks, takes open alerts for dismissed, and returns when no check is under way.
    void close();

private:
    using Answer = std::variant<cloud_client::QrnVersionsResponse, log::GatewayLogError>;

    QCoro::Task<> checkEachDay(std::stop_token stop);
    QCoro::Task<Answer> checkVersions();
    QCoro::Task<> applyAnswer(QString trigger, Answer answer);
    void noteSuccess(const QString &trigger, const cloud_client::QrnVersionsResponse &result);
    void noteFailure(const QString &trigger, const log::GatewayLogError &error);
    QCoro::Task<> applyResult(cloud_client::QrnVersionsResponse result);
    QCoro::Task<> promptForCriticalUpdate();
    QCoro::Task<> evaluateOfflineWarning(QDateTime now);
    bool isOfflineWarningDue(const QDateTime &now) const;
    QCoro::Task<bool> ask(Alert alert);
    void emit(log::GatewayLogAction action,
              log::GatewayLogLevel level,
              log::GatewayLogOutcome outcome,
              QMap<QString, QString> details = {},
              std::optional<log::GatewayLogError> error = std::nullopt);

    const Collaborators m_collaborators;
    const Runtime m_runtime;
    std::optional<std::stop_source> m_periodicCheckTask; // set while the daily checks run
    bool m_isChecking = false;
    std::shared_ptr<PendingAnswer> m_openAlert;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::updates
