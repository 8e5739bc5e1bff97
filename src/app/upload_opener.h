#pragma once

#include "account/quorin_auth_view_model.h"
#include "app/cloud_watch.h"
#include "platform/defaults/user_defaults.h"
#include "platform/notifications/notification_center.h"
#include "upload/store_upload_coordinator.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <functional>
#include <optional>

namespace gateway::app {

/// Asks for uploads when what stood in their way has gone: the session is another, the cloud is back, terms
/// were accepted, or the program is another or sends elsewhere than it did the last time.
///
/// Owner: Gateway. Thread: main.
class UploadOpener : public QObject
{
    Q_OBJECT

public:
    /// What the opener works with; all of it outlives it.
    struct Collaborators
    {
        platform::UserDefaults &defaults;
        platform::NotificationCenter &notifications;
        const account::QuorinAuthViewModel &auth;
        CloudWatch &cloudWatch;
        std::function<void(const QString &reason, upload::UploadUrgency urgency)> request;
    };

    explicit UploadOpener(Collaborators with);

    /// Lets everything be tried at once if files were refused by another cloud, or sent by another program.
    ///
    /// \param sender  names this version of the program and the cloud's address.
    void launched(const QString &sender);

private:
    void sessionLookedAt();
    void cloudLookedAt();
    void termsLookedAt();

    const Collaborators m_with;
    account::SessionState m_session;
    std::optional<bool> m_wasOnline;
    bool m_wereTermsRequired = false;
    platform::NotificationCenter::Token m_authObserver;
};

} // namespace gateway::app
