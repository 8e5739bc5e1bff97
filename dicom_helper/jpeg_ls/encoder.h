#pragma once

#include "dicom_helper/jpeg_ls/image_shape.h"
#include "dicom_helper/jpeg_ls/instructions.h"

#include <memory>
#include <optional>
#include <span>

namespace gateway::dicom_helper::jpeg_ls {

/// A lossless JPEG-LS encoder (ISO/IEC 14495-1, NEAR = 0, default thresholds).
///
/// Thread: any, one image at a time. It keeps its buffers for the next image.
class Encoder
{
public:
    explicit Encoder(Instructions instructions = bestInstructions());
    ~Encoder();
    Encoder(const Encoder &) = delete;
    Encoder &operator=(const Encoder &) = delete;

    /// Encodes `image`, of shape.bytes() bytes, from SOI to EOI.
    ///
    /// \return how many bytes of `stream` were written; nothing when there was no room for all of them.
    /// \throws ImageError where the shape can't be coded, the image has another size, or a sample is above
    ///         the precision.
    std::optional<std::size_t>
    encode(const ImageShape &shape, std::span<const std::byte> image, std::span<std::byte> stream);

private:
    class Scan;

    Instructions m_instructions;
    std::unique_ptr<Scan> m_scan;
};

} // namespace gateway::dicom_helper::jpeg_ls
