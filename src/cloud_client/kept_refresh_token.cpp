#include "cloud_client/kept_refresh_token.h"

#include "cloud_client/network_settings.h"
#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>

namespace gateway::cloud_client {

AccessToken KeptRefreshToken::renew(const QString &session, const Exchange &exchange)
{
    const platform::MutexLock lock(m_exchanging);
    const std::optional<QString> before = m_settings.refreshToken(session);
    if (!before) {
        throw QrnErrorResponse(
            QrnErrorKind::sessionInvalid,
            QCoreApplication::translate("CloudClient", "This sign-in is over; sign in again."));
    }
    try {
        OAuthTokens tokens = exchange(*before);
        if (tokens.refresh != *before) {
            m_settings.replaceRefreshToken(*before, tokens.refresh);
            m_settings.waitUntilStored(); // else it is known to this run alone until the keyring takes it
        }
        return tokens.access;
    } catch (const QrnErrorResponse &error) {
        if (error.kind == QrnErrorKind::sessionInvalid) {
            m_settings.endSessionOf(*before, m_clock.now());
        }
        throw;
    }
}

} // namespace gateway::cloud_client
