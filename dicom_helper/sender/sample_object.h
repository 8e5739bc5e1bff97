#pragma once

#include <string>

namespace gateway::dicom_helper::sender {

/// Secondary Capture Image Storage (PS3.4 B.5): an image of no device.
inline constexpr char kSampleSopClass[] = "1.2.840.10008.5.1.4.1.1.7";

inline constexpr char kSampleTransferSyntax[] = "1.2.840.10008.1.2.1"; // Explicit VR Little Endian

/// What a sample is called, and when it was made.
struct SampleIdentity
{
    std::string study;
    std::string series;
    std::string instance;
    std::string date; ///< YYYYMMDD
    std::string time; ///< HHMMSS
};

/// The dataset of a small grey picture of nobody, in kSampleTransferSyntax (PS3.3 A.8.1).
std::string sampleDataSet(const SampleIdentity &identity);

} // namespace gateway::dicom_helper::sender
