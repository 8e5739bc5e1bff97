#pragma once

/// What this implementation calls itself in associations and in the header of the files that it writes
/// (PS3.7 D.3.3.2, PS3.10 7.1).
namespace gateway::dicom_helper {

/// Implementation Class UID: derived from a UUID (PS3.5 B.2), the same for every version.
inline constexpr char kImplementationClassUid[] = "2.25.249307385516834128930772049117316295811";

/// Implementation Version Name: at most 16 characters.
inline constexpr char kImplementationVersionName[] = "QUORIN_" QUORIN_VERSION;
static_assert(sizeof(kImplementationVersionName) <= 17);

} // namespace gateway::dicom_helper
