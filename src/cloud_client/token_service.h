#pragma once

#include "cloud_client/oauth_service.h"

namespace gateway::cloud_client {

/// Gives access tokens to a client that asks by itself (RFC 6749 4.4), and renews those that a person has
/// granted (RFC 6749 6).
///
/// Owner: QuorinApiClient. Thread: any, several at a time; calls block.
class TokenService
{
public:
    TokenService(const OAuthService::Collaborators &collaborators, ArchiveSignIn signIn)
        : m_service(collaborators, std::move(signIn))
    {
    }

    /// A new token. \throws as `FetchToken`.
    AccessToken fetch();

    /// New tokens in place of those that came with this one; what renews them may stay the same.
    ///
    /// \throws QrnErrorResponse  of kind sessionInvalid, when it is good for nothing any more.
    /// \throws QrnErrorResponse, AFError  as `FetchToken` else.
    OAuthTokens renew(const QString &refreshToken);

    /// Tells the service that a token which renews others is wanted no more, and with it the sign-in that it
    /// came of (RFC 7009), where the issuer says how.
    ///
    /// \throws QrnErrorResponse, AFError  as `FetchToken`, when the service hasn't taken it back.
    void revoke(const QString &refreshToken);

private:
    OAuthTokens tokensFor(const OAuthForm &form);

    OAuthService m_service;
};

} // namespace gateway::cloud_client
