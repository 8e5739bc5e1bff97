#pragma once

#include "cloud_client/archive_sign_in.h"

#include <QtCore/QString>

#include <chrono>
#include <optional>

namespace gateway::cloud_client {

class QuorinApiClient;

/// What a person needs to let this gateway in (RFC 8628 3.2). Thread: a value, any.
struct DeviceCode
{
    QString deviceCode;   ///< secret: who has it gets the tokens
    QString userCode;     ///< to be entered
    QString address;      ///< where
    QString wholeAddress; ///< the same with the code in it; may be empty
    std::chrono::seconds lifetime{0};
    std::chrono::seconds interval{0}; ///< from one question whether it was entered to the next
};

/// What a person's word gives. Thread: a value, any.
struct DeviceTokens
{
    QString accessToken;
    QString refreshToken;
    QString holder; ///< see `ArchiveSignIn::holder`
};

/// What came of a question whether the code was entered.
struct DeviceAnswer
{
    std::optional<DeviceTokens> tokens = std::nullopt; ///< nothing while nobody has entered it
    bool isTooOften = false;                           ///< it was asked too soon
};

/// Signing in by a code that a person enters elsewhere (RFC 8628).
///
/// Thread: any; calls block.
/// \throws QrnErrorResponse  from both, with a sentence, when it comes to nothing.
/// \throws AFError  from both, with NoAnswer::signInUnavailable, when no answer came.
class DeviceGrantAPIProtocol
{
public:
    virtual ~DeviceGrantAPIProtocol() = default;

    virtual DeviceCode begin(const ArchiveSignIn &signIn) = 0;
    virtual DeviceAnswer ask(const ArchiveSignIn &signIn, const QString &deviceCode) = 0;
};

/// The sign-in service of an archive's sign-in.
class DeviceGrantAPI final : public DeviceGrantAPIProtocol
{
public:
    /// \param client  outlives this.
    explicit DeviceGrantAPI(QuorinApiClient &client) : m_client(client) {}

    DeviceCode begin(const ArchiveSignIn &signIn) override;
    DeviceAnswer ask(const ArchiveSignIn &signIn, const QString &deviceCode) override;

private:
    QuorinApiClient &m_client;
};

} // namespace gateway::cloud_client
