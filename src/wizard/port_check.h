#pragma once

#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task_scope.h"
#include "platform/concurrency/worker_pool.h"
#include "wizard/port_probe.h"

#include <QCoro/QCoroTask>

#include <functional>
#include <optional>
#include <stop_token>

namespace gateway::wizard {

/// Whether the port that is entered can be listened on: asked for once typing rests, or at once.
///
/// Owner: GatewaySetupWizardViewModel. Thread: main.
class PortCheck
{
public:
    struct Collaborators
    {
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
        PortProbe probe; ///< any thread

        /// The port that the gateway's own listener has, which is no conflict.
        std::function<std::optional<int>()> ownPort;

        std::function<void()> answerArrived; ///< of a scheduled check
    };

    explicit PortCheck(Collaborators collaborators);
    ~PortCheck();

    PortCheck(const PortCheck &) = delete;
    PortCheck &operator=(const PortCheck &) = delete;

    /// Asks for the port 350 ms from now, unless another call comes before; what was known is kept until
    /// then.
    ///
    /// \param port  nothing forgets all.
    void schedule(std::optional<int> port);

    /// Asks for the port now, in place of what was scheduled.
    void verifyNow(std::optional<int> port);

    /// The first available port from `start` upwards, then from 1 up to it; it counts as checked then.
    /// Nothing changes where there is none. Blocks for as long as the system takes for up to 65535 questions.
    std::optional<int> suggest(int start);

    /// Nothing is known of any port any more.
    void forget();

    /// A scheduled check is under way.
    bool isChecking() const { return m_isChecking; }

    /// What is known of this port; nothing when it wasn't asked for.
    std::optional<PortState> stateOf(int port) const;

private:
    QCoro::Task<> validate(int port, std::stop_token stop);
    void cancel();

    struct Checked
    {
        int port;
        PortState state;
    };

    const Collaborators m_collaborators;
    std::optional<std::stop_source> m_portValidationTask;
    bool m_isChecking = false;
    std::optional<Checked> m_checked;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::wizard
