#pragma once

#include "account/gateway_quorin_cloud_terms_coordinator.h"
#include "account/quorin_auth_view_model.h"
#include "platform/concurrency/task_scope.h"
#include "platform/notifications/notification_center.h"
#include "terminal/control/control_protocol.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace gateway::terminal {

/// What the running instance does for the commands about the cloud's terms: the terms screen without a
/// screen. Only terms that were shown can be answered.
///
/// Owner: Gateway. Thread: main.
class TermsCommands
{
public:
    struct Collaborators
    {
        cloud_client::QrnQuorinCloudTermsAPIProtocol &api;
        platform::UserDefaults &defaults;
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
        account::QuorinAuthViewModel &auth;
        std::function<void()> answered; ///< the service took an answer
    };

    using Answer = std::function<void(ControlReply)>;

    explicit TermsCommands(const Collaborators &collaborators);

    /// Carries the request out if it is one about the terms; `answer` is called once then, now or later.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    QCoro::Task<> show(Answer answer);
    QCoro::Task<> accept(Answer answer);
    QCoro::Task<> decline(Answer answer);

    QCoro::Task<ControlReply> readTerms();
    ControlReply failure() const;

    const Collaborators m_collaborators;
    account::GatewayQuorinCloudTermsCoordinator m_coordinator;
    platform::NotificationCenter::Token m_authObserver;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::terminal
