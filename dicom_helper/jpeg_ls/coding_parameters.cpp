#include "dicom_helper/jpeg_ls/coding_parameters.h"

#include <algorithm>

namespace gateway::dicom_helper::jpeg_ls {

namespace {

constexpr int kBasicT1 = 3;
constexpr int kBasicT2 = 7;
constexpr int kBasicT3 = 21;

/// CLAMP of C.2.4.1.1: what lies outside becomes the least.
int clampedTo(int least, int value, int MAXVAL)
{
    return value > MAXVAL || value < least ? least : value;
}

} // namespace

CodingParameters::CodingParameters(unsigned precision)
    : MAXVAL((1 << precision) - 1), RANGE(MAXVAL + 1), qbpp(static_cast<int>(precision)),
      LIMIT(2 * (qbpp + std::max(8, qbpp))), initialA(std::max(2, (RANGE + 32) / 64))
{
    if (MAXVAL >= 128) {
        const int FACTOR = (std::min(MAXVAL, 4095) + 128) / 256;
        T1 = clampedTo(1, FACTOR * (kBasicT1 - 2) + 2, MAXVAL);
        T2 = clampedTo(T1, FACTOR * (kBasicT2 - 3) + 3, MAXVAL);
        T3 = clampedTo(T2, FACTOR * (kBasicT3 - 4) + 4, MAXVAL);
    } else {
        const int FACTOR = 256 / (MAXVAL + 1);
        T1 = clampedTo(1, std::max(2, kBasicT1 / FACTOR), MAXVAL);
        T2 = clampedTo(T1, std::max(3, kBasicT2 / FACTOR), MAXVAL);
        T3 = clampedTo(T2, std::max(4, kBasicT3 / FACTOR), MAXVAL);
    }
}

} // namespace gateway::dicom_helper::jpeg_ls
