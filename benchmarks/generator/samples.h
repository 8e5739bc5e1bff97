#pragma once

#include <cstdint>
#include <string>

namespace gateway::bench {

/// The kinds of object that the demo, the tests and the benchmarks send.
enum class SampleKind
{
    ct,         ///< 512 x 512, 12 bits in 16, one frame
    mr,         ///< 256 x 256, 12 bits in 16, one frame
    ultrasound, ///< 512 x 512, 8 bits, many frames
    radiograph, ///< 3000 x 3000, 14 bits in 16 (DX)
    colour,     ///< 640 x 480 RGB, 8 bits (VL photographic)
    report      ///< a basic text structured report, without pixels, with a name in UTF-8
};

struct SampleRequest
{
    SampleKind kind = SampleKind::ct;
    int instance = 1;       ///< from 1; one series holds all instances of a kind
    int frames = 1;         ///< ultrasound only
    std::uint64_t seed = 1; ///< the study; other seeds are other patients
};

/// One whole DICOM file. The same request always gives the same bytes.
std::string sampleFile(const SampleRequest &request);

/// A short name for files, such as "ct".
std::string sampleName(SampleKind kind);

} // namespace gateway::bench
