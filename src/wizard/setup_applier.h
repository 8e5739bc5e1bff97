#pragma once

#include "core/settings.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task_scope.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "wizard/setup_checks.h"
#include "wizard/setup_listener.h"

#include <QCoro/QCoroTask>
#include <QtCore/QString>

#include <optional>

namespace gateway::wizard {

/// Checks the settings of setup and applies them to the running gateway, for the command and for the screens.
///
/// Owner: Gateway. Thread: main.
class SetupApplier
{
public:
    struct Collaborators
    {
        platform::UserDefaults &defaults;
        core::Settings &settings;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
        SetupListener &listener;
        QString bindAddress;
    };

    explicit SetupApplier(Collaborators collaborators);

    /// Settings are being applied: whoever asked for it reports a listener that doesn't start.
    bool isApplying() const { return m_isApplying; }

    /// The first thing that stands in the way of these settings, as a sentence for people.
    std::optional<QString> issue(const SetupDraft &draft) const;

    /// Checks and writes the settings, restarts the listener with them and gives its start two seconds. Setup
    /// is marked as done once the listener stands; else it is stopped.
    ///
    /// \return why it failed, a sentence for people; nothing when all is done.
    QCoro::Task<std::optional<QString>> apply(SetupDraft draft);

private:
    std::optional<QString> write(const SetupDraft &draft);
    PortState probe(int port) const;
    QCoro::Task<std::optional<QString>> restartAndWait();

    const Collaborators m_with;
    bool m_isApplying = false;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::wizard
