#pragma once

#include "cloud/store/accounts.h"
#include "cloud/store/service_settings.h"

namespace gateway::cloud {

/// Whether the user must accept terms before the service takes uploads. Thread: any.
inline bool termsRequired(const ServiceRules &rules, const Accounts &accounts, UserId user)
{
    return !rules.termsVersion.isEmpty() && accounts.acceptedTerms(user) != rules.termsVersion;
}

} // namespace gateway::cloud
