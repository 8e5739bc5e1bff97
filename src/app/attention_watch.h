#pragma once

#include "account/quorin_auth_view_model.h"
#include "account/quorin_cloud_storage_limit_view_model.h"
#include "platform/notifications/notification_center.h"
#include "shell/notifying/attention.h"
#include "state/gateway_app_state.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <vector>

namespace gateway::app {

/// Whether so little room is left on a disk that a person should come before images are refused.
bool isNearlyFull(qint64 availableBytes);

/// Notices when the gateway needs a person, and calls for one.
///
/// Owner: DesktopFace. Thread: main.
class AttentionWatch : public QObject
{
    Q_OBJECT

public:
    struct Collaborators
    {
        platform::NotificationCenter &notifications;
        const state::GatewayAppState &appState;
        const account::QuorinAuthViewModel &auth;
        const account::QuorinCloudStorageLimitViewModel &cloudStorage;
        shell::Attention &attention;
    };

    explicit AttentionWatch(const Collaborators &with);

private:
    void observe(const QString &name, shell::AttentionCause cause);
    void sessionChanged();
    void cloudStorageChanged();
    void figureChanged(state::GatewayField field);

    const Collaborators m_with;
    bool m_wasSignedIn = false;
    std::vector<platform::NotificationCenter::Token> m_observers;
};

} // namespace gateway::app
