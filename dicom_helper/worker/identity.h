#pragma once

#include "dicom_helper/worker/object_header.h"

#include <string>
#include <string_view>

namespace gateway::dicom_helper::worker {

/// Who an object is, as its dataset says; UIDs without their padding, empty where it says nothing.
struct Identity
{
    std::string study;
    std::string series;
    std::string sopClass;    ///< the header's where the dataset has none
    std::string sopInstance; ///< the header's, where a listener noted the command's, if the dataset has none
};

/// The one reading of an object's identity: for the index, for what goes up, and for what proves it.
Identity identityOf(const ObjectHeader &header);

/// Whether an answer of a server could name an instance by this UID: it is there, and plain text. How sloppy
/// a UID it is doesn't matter.
bool isNameable(std::string_view uid);

} // namespace gateway::dicom_helper::worker
