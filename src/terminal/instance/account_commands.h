#pragma once

#include "account/gateway_account_settings_view_model.h"
#include "account/gateway_bug_report_view_model.h"
#include "account/gateway_change_password_view_model.h"
#include "account/quorin_auth_view_model.h"
#include "platform/concurrency/task_scope.h"
#include "platform/notifications/notification_center.h"
#include "terminal/control/control_protocol.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace gateway::terminal {

/// What the running instance does for the commands about the account: profile, password, bug reports.
///
/// Owner: Gateway. Thread: main.
class AccountCommands
{
public:
    struct Collaborators
    {
        cloud_client::QrnUserAPIProtocol &user;
        cloud_client::QrnBugReportAPIProtocol &bugReports;
        platform::UserDefaults &defaults;
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        platform::WorkerPool &pool; ///< for calls that may take as long as the network lets them
        account::QuorinAuthViewModel &auth;
    };

    using Answer = std::function<void(ControlReply)>;

    explicit AccountCommands(const Collaborators &collaborators);

    /// Carries the request out if it is one about the account; `answer` is called once then, now or later.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    QCoro::Task<> show(Answer answer);
    QCoro::Task<> set(ControlRequest request, Answer answer);
    QCoro::Task<> changePassword(ControlRequest request, Answer answer);
    QCoro::Task<> report(ControlRequest request, Answer answer);

    const Collaborators m_collaborators;
    account::GatewayAccountSettingsViewModel m_profile;
    account::GatewayChangePasswordViewModel m_password;
    account::GatewayBugReportViewModel m_report;
    platform::NotificationCenter::Token m_authObserver;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::terminal
