#pragma once

#include "dicom_helper/jpeg_ls/coding_parameters.h"
#include "dicom_helper/jpeg_ls/image_shape.h"

#include <cstdint>
#include <vector>

namespace gateway::dicom_helper::jpeg_ls {

/// All that stands before the coded samples: SOI, SOF55, LSE above 12 bits, SOS (ISO/IEC 14495-1 C.1, C.2).
///
/// The LSE segment says what is the default anyway; readers that compute it wrongly above 12 bits exist.
std::vector<std::uint8_t> streamHeader(const ImageShape &shape, const CodingParameters &parameters);

} // namespace gateway::dicom_helper::jpeg_ls
