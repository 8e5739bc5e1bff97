#pragma once

#include "cloud_client/device_grant.h"

#include <QCoro/QCoroTask>

#include <QtCore/QString>

#include <functional>
#include <stop_token>

namespace gateway::platform {
class Clock;
class MainExecutor;
class WorkerPool;
} // namespace gateway::platform

namespace gateway::account {

/// What a sign-in by a code works with; all outlive it.
struct DeviceSignInParts
{
    cloud_client::DeviceGrantAPIProtocol &api;
    platform::MainExecutor &main;
    platform::WorkerPool &pool;
    platform::Clock &clock;
};

/// How one ended: with tokens, or with a sentence that says why not.
struct DeviceSignInEnd
{
    std::optional<cloud_client::DeviceTokens> tokens = std::nullopt;
    QString problem = {};
};

/// Asks for a code and waits until a person has entered it: by questions as far apart as the service wants
/// them, farther while it doesn't answer, until the code is over (RFC 8628 3.5).
///
/// \param show  takes the code that somebody has to be told; called once at most.
/// \param stop  gives it up.
///
/// Thread: main.
QCoro::Task<DeviceSignInEnd> signInByCode(DeviceSignInParts parts,
                                          cloud_client::ArchiveSignIn signIn,
                                          std::function<void(const cloud_client::DeviceCode &)> show,
                                          std::stop_token stop);

} // namespace gateway::account
