#pragma once

#include "account/cloud_watch.h"
#include "account/quorin_auth_view_model.h"
#include "platform/defaults/user_defaults.h"
#include "platform/notifications/notification_center.h"
#include "upload/upload_requests.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <optional>

namespace gateway::upload {

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
        account::CloudWatch &cloudWatch;
        UploadRequests &requests;
    };

    explicit UploadOpener(Collaborators collaborators);

    /// Lets everything be tried at once if files were refused by another cloud, or sent by another program.
    ///
    /// \param sender  names this version of the program and the cloud's address.
    void launched(const QString &sender);

private:
    void sessionLookedAt();
    void cloudLookedAt();
    void termsLookedAt();

    const Collaborators m_collaborators;
    account::SessionState m_session;
    std::optional<bool> m_wasOnline;
    bool m_wereTermsRequired = false;
    platform::NotificationCenter::Token m_authObserver;
};

} // namespace gateway::upload
