#pragma once

#include "cloud_client/oauth_service.h"
#include "platform/concurrency/mutex.h"

#include <functional>

namespace gateway::cloud_client {

class NetworkSettings;

/// The refresh token that lies with the session (RFC 6749 1.5, 6).
///
/// Many a service takes each of them once, and ends the sign-in when one is shown twice: so one exchange is
/// under way at a time, and what comes is kept before anything is done with it. One that is refused ends the
/// session at once, so that it isn't shown again and again.
///
/// Owner: QuorinApiClient. Thread: any; calls block.
class KeptRefreshToken
{
public:
    /// \throws QrnErrorResponse  of kind sessionInvalid for a refused one.
    using Exchange = std::function<OAuthTokens(const QString &refreshToken)>;

    /// Both outlive this.
    KeptRefreshToken(NetworkSettings &settings, const platform::Clock &clock)
        : m_settings(settings), m_clock(clock)
    {
    }

    /// An access token for this session. \throws as `FetchToken`, and as `exchange`.
    AccessToken renew(const QString &session, const Exchange &exchange);

private:
    NetworkSettings &m_settings;
    const platform::Clock &m_clock;
    platform::Mutex m_exchanging; // held for the time of an exchange, which has a limit
};

} // namespace gateway::cloud_client
