#include "app/missing_session.h"

#include "core/notification_names.h"
#include "platform/concurrency/main_thread.h"

#include <QtCore/QDateTime>

#include <utility>

namespace gateway::app {

MissingSession::MissingSession(Collaborators collaborators) : m_collaborators(std::move(collaborators))
{
    platform::assertMainThread("MissingSession");
    m_sessionObserver = m_collaborators.notifications.observe(core::kAuthStateChanged,
                                                              [this](const QVariantMap &) { tell(); });
}

QString MissingSession::sentence() const
{
    const account::SessionStanding &standing = m_collaborators.auth.standing();
    switch (standing.state) {
    case account::SessionState::signedIn:
    case account::SessionState::notKnownYet:
    case account::SessionState::signedOut: // on a person's word
        return {};
    case account::SessionState::ended:
        return QStringLiteral(
                   "Images wait, and there is no session: the cloud ended it at %1. They are kept "
                   "here, but none is sent. Sign in again: quorin-gateway sign-in --email ADDRESS.")
            .arg(standing.since.value_or(QDateTime()).toLocalTime().toString(Qt::ISODate));
    case account::SessionState::credentialsRefused:
        return QStringLiteral(
                   "Images wait, and the archive refuses the sign-in since %1. It is tried again by "
                   "itself; if what it is made of has changed, sign in again: quorin-gateway "
                   "sign-in --email NAME, or quorin-gateway archive set.")
            .arg(standing.since.value_or(QDateTime()).toLocalTime().toString(Qt::ISODate));
    case account::SessionState::signInUnavailable:
        return QStringLiteral("Images wait, and since %1 what this gateway signs in with can't be had. It is "
                              "tried again "
                              "by itself; quorin-gateway status says what is wrong.")
            .arg(standing.since.value_or(QDateTime()).toLocalTime().toString(Qt::ISODate));
    }
    return {};
}

void MissingSession::tell()
{
    const QString words = sentence();
    if (words == m_told) {
        return;
    }
    if (!words.isEmpty()) {
        if (!m_collaborators.areImagesWaiting()) {
            return;
        }
        m_collaborators.writeLine(words);
        m_collaborators.systemLog.write(platform::SystemLogLevel::error,
                                        QStringLiteral("com.ovelt.QuorinGateway"),
                                        QStringLiteral("session"),
                                        words);
    }
    m_told = words;
}

} // namespace gateway::app
