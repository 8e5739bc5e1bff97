#pragma once

#include "dicom_helper/jpeg_ls/checker.h"
#include "dicom_helper/jpeg_ls/encoder.h"
#include "dicom_helper/worker/frame_codec.h"

namespace gateway::dicom_helper::worker {

/// JPEG-LS lossless (ISO/IEC 14495-1, PS3.5 A.4.3).
class JpegLsCodec final : public FrameCodec
{
public:
    std::optional<std::size_t>
    encode(const FrameShape &shape, std::span<const std::byte> frame, std::span<std::byte> encoded) override;

    bool carries(const FrameShape &shape,
                 std::span<const std::byte> frame,
                 std::span<const std::byte> fragment) override;

private:
    jpeg_ls::Encoder m_encoder;
    jpeg_ls::Checker m_checker;
};

} // namespace gateway::dicom_helper::worker
