#pragma once

#include "cloud_client/archive_sign_in.h"
#include "platform/concurrency/clock.h"

#include <QtCore/QByteArray>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace gateway::cloud_client {

/// A token that opens an archive for a while (RFC 6749 1.4).
struct AccessToken
{
    QByteArray value;
    std::optional<std::chrono::seconds> lifetime =
        std::nullopt; ///< from when it came; unknown where it isn't said
};

/// Fetches a new token, and blocks meanwhile.
///
/// \throws QrnErrorResponse  of kind credentialsRefused, where who gives out tokens doesn't accept this
/// client.
/// \throws AFError           without a response code and with NoAnswer::signInUnavailable for all else.
using FetchToken = std::function<AccessToken()>;

/// Gives each request to an archive what it signs in with.
///
/// Owner: QuorinApiClient. Thread: any, several at a time.
class ArchiveAuthorizer
{
public:
    virtual ~ArchiveAuthorizer() = default;

    /// The value of the header Authorization; empty for none. Blocks while a token is fetched, or its file
    /// read.
    ///
    /// \throws QrnErrorResponse, AFError  as `FetchToken`.
    virtual QByteArray header() = 0;

    /// How an archive refuses.
    enum class Refusal
    {
        signInWanted, ///< 401
        notPermitted  ///< 403, by which some mean a token that has ended, and others an account
    };

    /// Learns that the archive refused this header.
    ///
    /// \return true when it is worth asking for a header again, and trying once more.
    virtual bool refused(const QByteArray &header, Refusal how) = 0;

    /// Learns that the archive took this header.
    virtual void accepted(const QByteArray &) {}
};

/// \param fetch  of use for access tokens alone.
/// \param clock  outlives the authorizer.
std::unique_ptr<ArchiveAuthorizer>
makeAuthorizer(const ArchiveSignIn &signIn, FetchToken fetch, platform::Clock &clock);

} // namespace gateway::cloud_client
