#pragma once

#include "dicom_helper/jpeg_ls/image_shape.h"

#include <cstddef>
#include <span>
#include <vector>

namespace gateway::dicom_helper::jpeg_ls::testing {

/// What CharLS encodes with the same parameters.
std::vector<std::byte> encodedByCharls(const ImageShape &shape, std::span<const std::byte> image);

/// What CharLS decodes; empty where it refuses the stream. (The toolkit's decoder is asked by ../worker's
/// tests.)
std::vector<std::byte> decodedByCharls(std::span<const std::byte> stream);

} // namespace gateway::dicom_helper::jpeg_ls::testing
