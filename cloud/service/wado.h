#pragma once

#include "cloud/store/instance_store.h"

namespace gateway::cloud {

class Exchange;

/// Answers with the stored files of a scope, byte for byte, as multipart/related (PS3.18, section 10.4).
/// Thread: any.
/// \throws HttpProblem  404 where there are none, 406 where the client takes no DICOM.
void answerInstances(Exchange &exchange, const InstanceStore &store, const InstanceScope &scope);

/// Answers with the data sets of a scope, without bulk data, as DICOM JSON. Thread: any.
/// \throws HttpProblem  404 where there are none.
void answerMetadata(Exchange &exchange, const InstanceStore &store, const InstanceScope &scope);

} // namespace gateway::cloud
