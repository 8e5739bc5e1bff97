#pragma once

#include "cloud/service/fault_plan.h"
#include "cloud/store/instance_store.h"
#include "cloud/store/service_settings.h"

#include <QtCore/QString>

#include <optional>

namespace gateway::cloud {

class Exchange;

/// Takes an upload (PS3.18, section 10.5): each part goes to the disk as it comes, all of them become known
/// together, and only then the answer says so. An instance that is stored already is stored again in its new
/// form; that is a success. A body that breaks off stores nothing. Thread: any.
///
/// \param studyUid  where the request names one, parts of other studies fail.
/// \throws HttpProblem  where the request as a whole can't be taken.
void receiveInstances(Exchange &exchange,
                      InstanceStore &store,
                      FaultPlan &faults,
                      const ServiceRules &rules,
                      const std::optional<QString> &studyUid);

} // namespace gateway::cloud
