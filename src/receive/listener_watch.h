#pragma once

#include "platform/defaults/user_defaults.h"
#include "platform/notifications/notification_center.h"
#include "receive/store_listener_service.h"
#include "state/gateway_app_state.h"
#include "state/listener_figures.h"

#include <QtCore/QString>
#include <QtCore/QVariantMap>

namespace gateway::receive {

/// What a notification of a failed listener start says to people: its message, and the reason where it has
/// one. Never empty.
platform::Sentence listenerFailureText(const QVariantMap &userInfo);

/// Knows how the listener stands, and keeps why its last start failed in the live figures.
///
/// Owner: Gateway. Thread: main.
class ListenerWatch
{
public:
    /// What the watch works with; all of it outlives it.
    struct Collaborators
    {
        const platform::UserDefaults &defaults;
        platform::NotificationCenter &notifications;
        const StoreListenerService &listenerService;
        state::GatewayAppState &state;
        QString bindAddress; ///< the one address that the listener binds; empty for all
    };

    explicit ListenerWatch(Collaborators collaborators);

    state::ListenerFigures figures() const;

    /// The address to register in a modality for a listener on this port.
    QString addressText(int port) const;

private:
    const Collaborators m_collaborators;
    platform::NotificationCenter::Token m_errorObserver;
    platform::NotificationCenter::Token m_stateObserver;
};

} // namespace gateway::receive
