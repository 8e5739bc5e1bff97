#include "cloud_client/token_service.h"

#include "cloud_client/quorin_error.h"

#include <QtCore/QCoreApplication>

namespace gateway::cloud_client {

AccessToken TokenService::fetch()
{
    const OAuthClient &client = m_service.signIn().client;
    return tokensFor({{"grant_type", QStringLiteral("client_credentials")},
                      {"scope", client.scope},
                      {"audience", client.audience}})
        .access;
}

OAuthTokens TokenService::renew(const QString &refreshToken)
{
    OAuthTokens tokens =
        tokensFor({{"grant_type", QStringLiteral("refresh_token")}, {"refresh_token", refreshToken}});
    if (tokens.refresh.isEmpty()) {
        tokens.refresh = refreshToken;
    }
    return tokens;
}

void TokenService::revoke(const QString &refreshToken)
{
    if (m_service.signIn().client.issuer.isEmpty()) {
        throw OAuthService::away(QCoreApplication::translate(
            "CloudClient", "No issuer is named who would say where tokens are taken back."));
    }
    const HttpResponse response =
        m_service.post(OAuthService::Endpoint::revocation,
                       {{"token", refreshToken}, {"token_type_hint", QStringLiteral("refresh_token")}});
    if (!response.isSuccess()) {
        m_service.throwRefusal(response, OAuthService::refusalIn(response));
    }
}

OAuthTokens TokenService::tokensFor(const OAuthForm &form)
{
    const HttpResponse response = m_service.post(OAuthService::Endpoint::token, form);
    try {
        if (response.isSuccess()) {
            return OAuthService::tokensIn(response);
        }
        const QString code = OAuthService::refusalIn(response);
        if (code == QStringLiteral("invalid_grant")) {
            throw QrnErrorResponse(
                QrnErrorKind::sessionInvalid,
                QCoreApplication::translate(
                    "CloudClient",
                    "The sign-in service at %1 has ended the sign-in; images are kept here until "
                    "somebody signs in again.")
                    .arg(response.host),
                response.status);
        }
        m_service.throwRefusal(response, code);
    } catch (const QuorinError &) {
        m_service.forgetAddresses();
        throw;
    }
}

} // namespace gateway::cloud_client
