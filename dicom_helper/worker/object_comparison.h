#pragma once

#include "platform/dicom_protocol/record.h"

#include <string>

namespace gateway::dicom_helper::worker {

/// The answer to a job that holds a fetched object against the one that was sent: `same`, `different`, or
/// `failed` where one of them can't be opened.
///
/// The fetched object is the same when it has all elements of the dataset with the same values as the file
/// that went up, or as the stored file that it was made of: an archive may have decoded what it was sent.
/// Encoding, group lengths, padding, the frames' offset table and the arrangement of colours don't count.
/// What can't be told counts as different. \throws ReadError
platform::dicom_protocol::Record
compareObjects(const std::string &fetched, const std::string &sent, const std::string &stored);

} // namespace gateway::dicom_helper::worker
