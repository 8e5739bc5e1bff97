#include "dicom_helper/worker/charls_codec.h"

#include <charls/charls.h>

#include <string>

namespace gateway::dicom_helper::worker {

namespace {

charls::frame_info frameInfo(const FrameShape &shape)
{
    return {shape.columns, shape.rows, static_cast<int>(shape.precision), static_cast<int>(shape.samples)};
}

} // namespace

std::optional<std::size_t>
CharlsCodec::encode(const FrameShape &shape, std::span<const std::byte> frame, std::span<std::byte> encoded)
try {
    charls::jpegls_encoder encoder;
    encoder.frame_info(frameInfo(shape));
    // By line, which every reader of colour streams knows.
    encoder.interleave_mode(shape.samples == 1 ? charls::interleave_mode::none
                                               : charls::interleave_mode::line);
    encoder.destination(encoded.data(), encoded.size());
    return encoder.encode(frame.data(), frame.size());
} catch (const charls::jpegls_error &error) {
    if (error.code() == charls::jpegls_errc::destination_buffer_too_small) {
        return std::nullopt;
    }
    throw CodecError(error.what());
}

void CharlsCodec::decode(const FrameShape &shape,
                         std::span<const std::byte> encoded,
                         std::span<std::byte> frame)
try {
    charls::jpegls_decoder decoder(encoded.data(), encoded.size());
    const charls::frame_info &found = decoder.frame_info();
    const charls::frame_info wanted = frameInfo(shape);
    if (found.width != wanted.width || found.height != wanted.height ||
        found.bits_per_sample != wanted.bits_per_sample || found.component_count != wanted.component_count ||
        decoder.near_lossless() != 0 || decoder.destination_size() != frame.size()) {
        throw CodecError("the coded frame has another shape");
    }
    decoder.decode(frame.data(), frame.size());
} catch (const charls::jpegls_error &error) {
    throw CodecError(error.what());
}

} // namespace gateway::dicom_helper::worker
