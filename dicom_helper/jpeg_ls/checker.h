#pragma once

#include "dicom_helper/jpeg_ls/image_shape.h"
#include "dicom_helper/jpeg_ls/instructions.h"

#include <memory>
#include <span>

namespace gateway::dicom_helper::jpeg_ls {

/// Proves that a JPEG-LS stream decodes to a given image.
///
/// It reads the stream as a decoder does, but takes each sample's neighbourhood from the image: as long as
/// all samples so far were the image's, a decoder would have the same neighbourhood, and the first one that
/// isn't ends the check. So it says what decoding and comparing would say, at less cost. It is stricter in
/// that everything about the stream that could have been said in another way must be said as the encoder says
/// it: headers, code words and padding. It uses nothing of the encoder. Thread: any, one image at a time.
class Checker
{
public:
    explicit Checker(Instructions instructions = bestInstructions());
    ~Checker();
    Checker(const Checker &) = delete;
    Checker &operator=(const Checker &) = delete;

    /// \param image  of shape.bytes() bytes
    /// \param stream  from SOI to EOI, with nothing behind it
    bool
    carries(const ImageShape &shape, std::span<const std::byte> image, std::span<const std::byte> stream);

private:
    class Scan;

    Instructions m_instructions;
    std::unique_ptr<Scan> m_scan;
};

} // namespace gateway::dicom_helper::jpeg_ls
