#pragma once

#include "core/retention_policy.h"

#include <QtCore/QDateTime>
#include <QtCore/QTimeZone>

#include <optional>

namespace gateway::upload {

/// Before which moment an uploaded image may go.
///
/// So many days or calendar months before `now`, at the same time of day in `zone`. A month without that day
/// gives its last one. A time of day that occurs twice on that day gives the first, which keeps more; one
/// that a change of the clocks leaves out gives the moment as far behind the change as it would have been
/// into it.
///
/// \param now  in any time specification.
/// \return UTC; nothing under `never`, and where the calendar has no such date. Thread: any.
std::optional<QDateTime>
retentionCutoff(const core::RetentionPolicy &policy, const QDateTime &now, const QTimeZone &zone);

} // namespace gateway::upload
