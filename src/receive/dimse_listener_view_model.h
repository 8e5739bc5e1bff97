#pragma once

#include "core/dcm_listener_settings.h"
#include "core/settings.h"
#include "platform/defaults/user_defaults.h"
#include "platform/notifications/notification_center.h"
#include "receive/store_listener_service.h"

#include <QtCore/QObject>
#include <QtCore/QString>

namespace gateway::receive {

/// What the screens show of the listener, and the switch that turns it on and off.
///
/// Owner: the screen that shows it. Thread: main.
class DimseListenerViewModel final : public QObject
{
    Q_OBJECT

public:
    struct Collaborators
    {
        platform::UserDefaults &defaults;
        core::Settings &settings;
        platform::NotificationCenter &notifications;
        StoreListenerService &listenerService;
        QString defaultIncomingFolder;
    };

    explicit DimseListenerViewModel(Collaborators collaborators);

    /// True while the listener is switched on and there, even if it is only about to listen.
    bool isOn() const { return m_isOn; }

    /// How it stands; modalities can send while it is listening.
    state::ListenerState state() const { return m_state; }

    /// The listener's settings as they were at the last refresh.
    const core::DCMListenerSettings &settings() const { return m_settings; }

    /// The folder that incoming files go to.
    const QString &storagePath() const { return m_storagePath; }

    /// The address to register in a modality, with ":" and the port where asked for; "Unavailable" without
    /// a network.
    QString addressText(bool withPort) const;

    /// Switches the listener and keeps the choice. While setup isn't finished, switching on asks for the
    /// setup wizard instead.
    void setEnabled(bool enabled);

    /// Reads everything again.
    void refresh();

Q_SIGNALS:
    /// Something above has been read again.
    void changed();

private:
    Collaborators m_collaborators;
    bool m_isOn = false;
    state::ListenerState m_state = state::ListenerState::stopped;
    core::DCMListenerSettings m_settings;
    QString m_storagePath;
    platform::NotificationCenter::Token m_observer;
};

} // namespace gateway::receive
