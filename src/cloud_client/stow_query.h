#pragma once

#include "platform/dicom/instance_identity.h"

namespace gateway::cloud_client {

class QuorinApiClient;
struct CloudSession;

/// Asks by QIDO-RS (PS3.18 10.6), in this session, whether the service holds this very instance.
/// \throws QrnErrorResponse, AFError, also where what came is no result of a query; with NoAnswer::notAsked
/// while queries are known to go unanswered. Thread: any; blocks.
bool isInstanceFound(QuorinApiClient &client,
                     const CloudSession &session,
                     const platform::InstanceIdentity &identity);

/// The same question, to which only an answer that names nothing is a no: a service that names another
/// instance passes over what it is asked for.
bool mayInstanceBeHeld(QuorinApiClient &client,
                       const CloudSession &session,
                       const platform::InstanceIdentity &identity);

/// Asks whether the service holds any instance of this one's series; the same otherwise.
///
/// \param identity  with study and series.
bool isSeriesFound(QuorinApiClient &client,
                   const CloudSession &session,
                   const platform::InstanceIdentity &identity);

} // namespace gateway::cloud_client
