#pragma once

#include "cloud/store/archive_index.h"

namespace gateway::cloud {

class Exchange;

/// Answers a search (PS3.18, section 10.6) at a level inside a scope; 204 where nothing matches. Keys that
/// the index doesn't keep are left out of the search and named in a Warning field. Thread: any.
/// \throws HttpProblem  where `limit` or `offset` isn't a number.
void answerSearch(Exchange &exchange, const ArchiveIndex &index, Level level, const InstanceScope &scope);

} // namespace gateway::cloud
