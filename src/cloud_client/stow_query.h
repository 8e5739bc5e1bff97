#pragma once

#include "platform/dicom/instance_identity.h"

namespace gateway::cloud_client {

class QuorinApiClient;

/// Asks by QIDO-RS (PS3.18 10.6) whether the service holds this very instance.
/// \throws QrnErrorResponse, AFError, also where what came is no result of a query. Thread: any; blocks.
bool isInstanceFound(QuorinApiClient &client, const platform::InstanceIdentity &identity);

/// Asks whether the service holds any instance of this one's series; the same otherwise.
///
/// \param identity  with study and series.
bool isSeriesFound(QuorinApiClient &client, const platform::InstanceIdentity &identity);

} // namespace gateway::cloud_client
