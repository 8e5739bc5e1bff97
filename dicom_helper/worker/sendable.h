#pragma once

#include "platform/dicom_protocol/record.h"

#include <string>

namespace gateway::dicom_helper::worker {

/// The answer to a job that makes the file at `path` ready to go up: `sendable`, `nameless`, `failed`, or
/// `unwritten` where only `output` is to blame.
///
/// A file whose meta information agrees with its dataset goes as it is. For any other a copy is written to
/// `output`, which must not exist: with a right header (PS3.10 7.1) and the dataset bit for bit. Where the
/// dataset has no SOP instance UID and the header has one, the copy's dataset gets it. A whole object that
/// lacks its last delimiter or padding gets that, and bytes behind its last element are left out.
/// \throws ReadError
platform::dicom_protocol::Record makeSendable(const std::string &path, const std::string &output);

/// As `makeSendable`, for the file at `path` of which `converted` is another form: that one goes up where its
/// header agrees with its dataset, else it is removed and the file itself is made ready.
platform::dicom_protocol::Record makeConvertedSendable(const std::string &path, const std::string &converted);

/// The answer to a job that tells which version of its object the file at `path` holds, as the answers above
/// do: `version` or `failed`. \throws ReadError
platform::dicom_protocol::Record tellVersion(const std::string &path);

} // namespace gateway::dicom_helper::worker
