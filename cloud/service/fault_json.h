#pragma once

#include "cloud/service/fault_plan.h"

#include <QtCore/QJsonObject>

namespace gateway::cloud {

/// A rule as the control interface writes it. Thread: any.
QJsonObject toJson(const FaultRule &rule);

/// Reads a rule. Thread: any. \throws HttpProblem  422 for a member that has another type or isn't known.
FaultRule faultFromJson(const QJsonObject &json);

} // namespace gateway::cloud
