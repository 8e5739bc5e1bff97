#pragma once

#include <string_view>

namespace gateway::dicom_helper::scp {

/// Whether a UID consists of digits and dots, 1 to 64 of them. More isn't asked, so that a sender with
/// sloppy UIDs (leading zeros, say) is served; what passes is harmless as text.
bool isPlainUid(std::string_view uid);

/// Whether associations about this SOP class are taken: Verification, and everything that isn't known to
/// be a service other than storage (PS3.6 A): storage classes of today, retired, private and yet to come.
bool isTakenSopClass(std::string_view uid);

} // namespace gateway::dicom_helper::scp
