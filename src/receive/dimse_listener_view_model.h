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

    /// True while the listener is switched on and there, even if it is coming back from an interruption.
    bool isListening() const { return m_isListening; }

    /// True while nobody can send though it is there: its process ended and is being started again.
    bool isInterrupted() const { return m_isInterrupted; }

    /// The listener's settings as they were at the last refresh.
    const core::DCMListenerSettings &settings() const { return m_settings; }

    /// The folder that incoming files go to.
    const QString &storagePath() const { return m_storagePath; }

    /// "Listening on Port 1115", "Restarting" or "Stopped".
    QString statusText() const;

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
    Collaborators m_with;
    bool m_isListening = false;
    bool m_isInterrupted = false;
    core::DCMListenerSettings m_settings;
    QString m_storagePath;
    platform::NotificationCenter::Token m_observer;
};

} // namespace gateway::receive
