#pragma once

#include "cloud/store/accounts.h"

#include <optional>

namespace gateway::cloud {

class Exchange;

/// Says who is behind a request.
///
/// Owner: CloudService. Thread: any.
class Access
{
public:
    explicit Access(Accounts &accounts) : m_accounts(accounts) {}

    /// The live session of a request's bearer token. \throws HttpProblem  401 where there is none.
    Session session(const Exchange &exchange) const;

    /// The user by bearer token or HTTP Basic. Nobody in particular where the service has no users at all and
    /// the request comes from this machine. \throws HttpProblem  401
    std::optional<UserId> dicomwebUser(Exchange &exchange) const;

private:
    UserId basicUser(Exchange &exchange, std::string_view credentials) const;

    Accounts &m_accounts; // borrowed, outlives this
};

} // namespace gateway::cloud
