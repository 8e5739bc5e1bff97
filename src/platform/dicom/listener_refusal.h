#pragma once

#include "platform/dicom_protocol/record.h"
#include "platform/sentences/sentence.h"

namespace gateway::platform {

/// What a listener's process means that has refused to listen. Thread: any.
///
/// \param refused  its record "refused".
Sentence refusalSentence(const dicom_protocol::Record &refused);

/// Whether the incoming folder is the reason.
bool isOfFolder(const dicom_protocol::Record &refused);

} // namespace gateway::platform
