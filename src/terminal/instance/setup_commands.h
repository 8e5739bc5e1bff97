#pragma once

#include "platform/concurrency/task_scope.h"
#include "terminal/control/control_protocol.h"
#include "wizard/gateway_setup_wizard_view_model.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace gateway::terminal {

/// Goes through a setup with what a setup request holds, and nobody to sign in. What the request doesn't hold
/// stays as the settings have it.
///
/// Thread: main. What the parts name outlives it.
QCoro::Task<ControlReply> carryOutSetup(wizard::SetupWizardParts parts, ControlRequest request);

/// What the running instance does for the command `setup`.
///
/// Owner: app. Thread: main.
class SetupCommands
{
public:
    using Answer = std::function<void(ControlReply)>;

    explicit SetupCommands(wizard::SetupWizardParts parts);

    /// Carries the request out if it is this one; `answer` is called once then, now or later.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    QCoro::Task<> apply(ControlRequest request, Answer answer);

    const wizard::SetupWizardParts m_parts;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::terminal
