#pragma once

#include "dicom_helper/worker/frame_codec.h"

namespace gateway::dicom_helper::worker {

/// JPEG-LS lossless (ISO/IEC 14495-1, PS3.5 A.4.3) by the CharLS library.
class CharlsCodec final : public FrameCodec
{
public:
    std::optional<std::size_t>
    encode(const FrameShape &shape, std::span<const std::byte> frame, std::span<std::byte> encoded) override;

    void
    decode(const FrameShape &shape, std::span<const std::byte> encoded, std::span<std::byte> frame) override;
};

} // namespace gateway::dicom_helper::worker
