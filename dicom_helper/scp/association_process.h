#pragma once

#include "dicom_helper/scp/association_request.h"
#include "dicom_helper/scp/inbox.h"
#include "dicom_helper/scp/space_claims.h"
#include "platform/descriptors/descriptor.h"
#include "platform/dicom_protocol/channel.h"

#include <chrono>
#include <string>

#include <sys/types.h>

namespace gateway::dicom_helper::scp {

/// What the process of one association works on.
struct AssociationJob
{
    platform::Descriptor socket; // non-blocking; the request has been read off it
    AssociationRequest request;
    SpaceClaim claim;             // on the free space
    std::string host = {};        // the peer's address
    std::string peer = {};        // with its port, for people
    std::string association = {}; // its identifier
    std::string fileNames = {};   // what its files' names begin with
    std::chrono::seconds timeout{0};
};

/// Serves one association in a process of its own from the answer to its end, and tells the gateway what
/// happens: `started`, a `progress` an object, then `complete` or `failed`, and `turnedaway` too where the
/// peer was too slow.
///
/// SIGTERM (which must be blocked) and the end of process `listener` let it finish the object under way and
/// then abort. \return the status that the process ends with; any status means that the end has been told.
int runAssociation(AssociationJob job,
                   Inbox &inbox,
                   platform::dicom_protocol::Channel &channel,
                   pid_t listener);

} // namespace gateway::dicom_helper::scp
