#include "account/session_words.h"

#include <QtCore/QCoreApplication>

namespace gateway::account {

QString accountText(SessionState state, const std::optional<QString> &label)
{
    switch (state) {
    case SessionState::notKnownYet:
        return QCoreApplication::translate("Account", "Checking sign-in status…");
    case SessionState::signedOut:
        return QCoreApplication::translate("Account", "Sign in required");
    case SessionState::ended:
        return QCoreApplication::translate("Account", "Session ended. Sign in again.");
    case SessionState::credentialsRefused:
        return QCoreApplication::translate("Account", "User name or password refused");
    case SessionState::signInUnavailable:
        return QCoreApplication::translate("Account", "Sign-in unavailable");
    case SessionState::signedIn:
        break;
    }
    return label ? QCoreApplication::translate("Account", "Signed in as %1").arg(*label)
                 : QCoreApplication::translate("Account", "Signed in with an active session.");
}

} // namespace gateway::account
