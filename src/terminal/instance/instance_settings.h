#pragma once

#include "core/settings.h"
#include "platform/concurrency/clock.h"
#include "platform/concurrency/main_executor.h"
#include "platform/concurrency/task_scope.h"
#include "platform/concurrency/worker_pool.h"
#include "platform/defaults/user_defaults.h"
#include "platform/notifications/notification_center.h"
#include "receive/store_listener_service.h"
#include "terminal/control/control_protocol.h"
#include "terminal/instance/settings_disk.h"

#include <QCoro/QCoroTask>

#include <functional>

namespace gateway::terminal {

/// Shows and changes the settings of the running instance, and lets the listener follow them.
///
/// A path that is to be kept is looked at on a thread of its own: one on a share that is dead holds up
/// nothing but the answer, which says so after ten seconds.
///
/// Owner: app. Thread: main.
class InstanceSettings
{
public:
    using Answer = std::function<void(ControlReply)>;

    struct Collaborators
    {
        platform::UserDefaults &defaults;
        core::Settings &settings;
        receive::StoreListenerService &listenerService;
        platform::NotificationCenter &notifications;
        platform::MainExecutor &main;
        platform::WorkerPool &pool;
        platform::Clock &clock;
    };

    explicit InstanceSettings(Collaborators collaborators);

    /// Carries the request out if it is about settings; `answer` is called once then, now or later.
    ///
    /// \return false when it is about something else.
    bool handle(const ControlRequest &request, const Answer &answer);

private:
    QCoro::Task<> answerOnce(ControlRequest request, Answer answer);
    ControlReply carryOut(const ControlRequest &request, SettingsDisk disk);
    void restartListener();

    const Collaborators m_collaborators;
    platform::TaskScope m_scope; // last: drained before the fields go
};

} // namespace gateway::terminal
