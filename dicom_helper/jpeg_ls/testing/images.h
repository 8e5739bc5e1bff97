#pragma once

#include "dicom_helper/jpeg_ls/image_shape.h"

#include <cstddef>
#include <random>
#include <vector>

namespace gateway::dicom_helper::jpeg_ls::testing {

enum class Pattern
{
    constant,
    ramp,     ///< from left to right, once over the whole range
    noise,    ///< each sample anywhere in the range
    checker,  ///< 0 and the greatest sample in turns, pixel by pixel and line by line
    smooth,   ///< a gentle slope with a little noise, as most images are
    flats,    ///< areas of one value with single samples that stick out: runs that are interrupted
    extremes, ///< 0 or the greatest, at random
};

constexpr std::initializer_list<Pattern> kPatterns{Pattern::constant,
                                                   Pattern::ramp,
                                                   Pattern::noise,
                                                   Pattern::checker,
                                                   Pattern::smooth,
                                                   Pattern::flats,
                                                   Pattern::extremes};

std::vector<std::byte> image(const ImageShape &shape, Pattern pattern, std::mt19937 &random);

} // namespace gateway::dicom_helper::jpeg_ls::testing
