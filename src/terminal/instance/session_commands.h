#pragma once

#include "account/quorin_auth_view_model.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task_scope.h"
#include "platform/concurrency/worker_pool.h"
#include "terminal/control/control_protocol.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace gateway::terminal {

/// The answer to a sign-in that is over.
///
/// \param plainSecrets  the folder where secrets lie unencrypted; empty for none.
ControlReply
signInReply(const account::QuorinAuthViewModel &auth, bool isSignedIn, const QString &plainSecrets);

/// What the running instance does for the commands that sign in and out.
///
/// Owner: app. Thread: main.
class SessionCommands
{
public:
    struct Collaborators
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        account::QuorinAuthViewModel &auth;
        std::function<QString()> plainSecrets; ///< the folder where secrets lie unencrypted; empty for none
    };

    using Answer = std::function<void(ControlReply)>;

    explicit SessionCommands(const Collaborators &collaborators);

    /// Carries the request out if it is one of these; `answer` is called once then, now or later.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    QCoro::Task<> signIn(ControlRequest request, Answer answer);
    QCoro::Task<> signOut(Answer answer);

    const Collaborators m_collaborators;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::terminal
