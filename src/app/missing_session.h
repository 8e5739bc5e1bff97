#pragma once

#include "account/quorin_auth_view_model.h"
#include "platform/notifications/notification_center.h"
#include "platform/system_log/system_log.h"

#include <QtCore/QString>

#include <functional>

namespace gateway::app {

/// Tells operators that images wait for a session which the cloud ended or refuses: once for each way in
/// which it is missing, as soon as images wait.
///
/// Owner: Doors. Thread: main.
class MissingSession
{
public:
    /// What the notice works with; all of it outlives it.
    struct Collaborators
    {
        platform::NotificationCenter &notifications;
        const account::QuorinAuthViewModel &auth;
        platform::SystemLog &systemLog;
        std::function<bool()> areImagesWaiting;
        std::function<void(const QString &)> writeLine; ///< one plain line for operators
    };

    explicit MissingSession(Collaborators collaborators);

    /// What happened and what to do; empty where nobody ended the session.
    QString sentence() const;

private:
    void tell();

    const Collaborators m_collaborators;
    QString m_told; // last
    platform::NotificationCenter::Token m_sessionObserver;
};

} // namespace gateway::app
