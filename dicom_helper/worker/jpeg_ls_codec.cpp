#include "dicom_helper/worker/jpeg_ls_codec.h"

namespace gateway::dicom_helper::worker {

namespace {

jpeg_ls::ImageShape imageShape(const FrameShape &shape)
{
    return {.columns = shape.columns,
            .rows = shape.rows,
            .components = shape.samples,
            .precision = shape.precision,
            // By line, which every reader of colour streams knows.
            .interleave = shape.samples == 1 ? jpeg_ls::Interleave::none : jpeg_ls::Interleave::line};
}

} // namespace

std::optional<std::size_t>
JpegLsCodec::encode(const FrameShape &shape, std::span<const std::byte> frame, std::span<std::byte> encoded)
try {
    return m_encoder.encode(imageShape(shape), frame, encoded);
} catch (const jpeg_ls::ImageError &error) {
    throw CodecError(error.what());
}

bool JpegLsCodec::carries(const FrameShape &shape,
                          std::span<const std::byte> frame,
                          std::span<const std::byte> fragment)
{
    // A stream ends with a marker that isn't 0; a fragment of even length may have one byte more (PS3.5 A.4).
    const bool isPadded = fragment.size() % 2 == 0 && !fragment.empty() && fragment.back() == std::byte{0};
    return m_checker.carries(imageShape(shape), frame, fragment.first(fragment.size() - (isPadded ? 1 : 0)));
}

} // namespace gateway::dicom_helper::worker
