#pragma once

#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task_scope.h"
#include "platform/concurrency/worker_pool.h"
#include "receive/listener_watch.h"
#include "terminal/control/control_protocol.h"
#include "wizard/setup_applier.h"
#include "wizard/setup_checks.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace gateway::terminal {

/// What the running instance does for the command `setup`.
///
/// Owner: app. Thread: main.
class SetupCommands
{
public:
    struct Collaborators
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        wizard::SetupApplier &setup;
        const receive::ListenerWatch &listener;
    };

    using Answer = std::function<void(ControlReply)>;

    explicit SetupCommands(const Collaborators &with);

    /// Carries the request out if it is this one; `answer` is called once then, now or later.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    QCoro::Task<> apply(wizard::SetupDraft draft, Answer answer);

    const Collaborators m_with;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::terminal
