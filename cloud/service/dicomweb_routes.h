#pragma once

#include "cloud/service/access.h"
#include "cloud/service/fault_plan.h"
#include "cloud/store/instance_store.h"
#include "cloud/store/service_settings.h"

#include <string>
#include <vector>

namespace gateway::cloud {

class Exchange;

/// The DICOMweb service: everything below `/dicom-web`.
///
/// Owner: CloudService. Thread: any.
class DicomwebRoutes
{
public:
    DicomwebRoutes(Accounts &accounts, ServiceSettings &settings, InstanceStore &store, FaultPlan &faults);

    /// Answers a request. \param path  what follows `/dicom-web`. \throws HttpProblem
    void handle(Exchange &exchange, const std::vector<std::string> &path);

private:
    void store(Exchange &exchange, const InstanceScope &scope, std::optional<UserId> user);
    void remove(Exchange &exchange, const InstanceScope &scope);

    Accounts &m_accounts;        // borrowed, outlives this
    ServiceSettings &m_settings; // borrowed, outlives this
    InstanceStore &m_store;      // borrowed, outlives this
    FaultPlan &m_faults;         // borrowed, outlives this
    const Access m_access;
};

} // namespace gateway::cloud
