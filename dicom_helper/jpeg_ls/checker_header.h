#pragma once

#include "dicom_helper/jpeg_ls/image_shape.h"

#include <optional>
#include <span>

namespace gateway::dicom_helper::jpeg_ls {

/// What the checker must know to read a scan, worked out from the precision alone.
struct ScanRules
{
    explicit ScanRules(unsigned precision);

    int greatest;   ///< MAXVAL
    int t1, t2, t3; ///< ISO/IEC 14495-1 table C.3, adapted to MAXVAL
    int firstSum;   ///< A of a context that was never met
    unsigned bits;  ///< qbpp
    unsigned limit; ///< LIMIT
};

/// \return where the scan's data begins in `stream`; nothing where what stands before isn't, byte for byte,
///         the header of a lossless image of this shape.
std::optional<std::size_t>
headerEnd(const ImageShape &shape, const ScanRules &rules, std::span<const std::byte> stream);

} // namespace gateway::dicom_helper::jpeg_ls
