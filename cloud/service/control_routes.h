#pragma once

#include "cloud/service/fault_plan.h"
#include "cloud/service/request_counts.h"
#include "cloud/store/accounts.h"
#include "cloud/store/instance_store.h"
#include "cloud/store/service_settings.h"

#include <functional>
#include <string>
#include <vector>

namespace gateway::cloud {

class Exchange;
struct ConnectionCounts;

/// What the control interface works on.
///
/// Thread: any; all borrowed, all outlive the routes.
struct ControlledParts
{
    Accounts &accounts;
    ServiceSettings &settings;
    InstanceStore &store;
    FaultPlan &faults;
    RequestCounts &counts;
    std::function<ConnectionCounts()> connections;
    QString reportsFolder;
};

/// Steers faults and tells counts: everything below `/control`. Answers to loopback peers only.
///
/// Owner: CloudService. Thread: any.
class ControlRoutes
{
public:
    explicit ControlRoutes(ControlledParts parts) : m_parts(std::move(parts)) {}

    /// Answers a request. \param path  what follows `/control`. \throws HttpProblem
    void handle(Exchange &exchange, const std::vector<std::string> &path);

private:
    void addFault(Exchange &exchange);
    void listFaults(Exchange &exchange);
    void clearFaults(Exchange &exchange);
    void refuseInstances(Exchange &exchange);
    void setSecondVersions(Exchange &exchange);
    void expireTokens(Exchange &exchange);
    void setTerms(Exchange &exchange);
    void termsAnswers(Exchange &exchange);
    void setAllowance(Exchange &exchange);
    void setLimits(Exchange &exchange);
    void setVersions(Exchange &exchange);
    void counts(Exchange &exchange);
    void resetCounts(Exchange &exchange);
    void instances(Exchange &exchange);
    void bugReports(Exchange &exchange);

    const ControlledParts m_parts;
};

} // namespace gateway::cloud
