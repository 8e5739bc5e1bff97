#pragma once

#include "platform/dicom_protocol/record.h"

#include <string>

namespace gateway::dicom_helper::worker {

/// The answer to a job that holds a fetched object against the one that was sent: `same`, `different`, or
/// `failed` where one of them can't be opened.
///
/// The fetched object is the same when it has all elements and items of the dataset in their places with the
/// same values as the file that went up, or as the stored file that it was made of: an archive may have
/// decoded what it was sent. Encoding, group lengths, padding, an offset table and the arrangement of colours
/// don't count. What can't be told counts as different (docs/decisions/0271). \throws ReadError
platform::dicom_protocol::Record
compareObjects(const std::string &fetched, const std::string &sent, const std::string &stored);

/// True when `converted` has the elements and items of `source`, as above, but for the pixel data itself.
/// \throws ReadError
bool sameAttributes(const std::string &converted, const std::string &source);

} // namespace gateway::dicom_helper::worker
