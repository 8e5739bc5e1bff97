#pragma once

#include <QtCore/QString>

namespace gateway::cloud {

class Exchange;

/// Takes a `multipart/form-data` body (RFC 7578) with one part `report` and any number of parts `attachment`,
/// keeps them in a new folder below `reportsFolder` and answers 201. Attachments go to the disk as they come.
/// Thread: any.
/// \throws HttpProblem  where the body isn't such a report; nothing is kept then.
void receiveBugReport(Exchange &exchange, const QString &reportsFolder);

} // namespace gateway::cloud
