#include "dicom_helper/jpeg_ls/testing/peers.h"

#include <charls/charls.h>

namespace gateway::dicom_helper::jpeg_ls::testing {

std::vector<std::byte> encodedByCharls(const ImageShape &shape, std::span<const std::byte> image)
{
    charls::jpegls_encoder encoder;
    encoder.frame_info(
        {shape.columns, shape.rows, static_cast<int>(shape.precision), static_cast<int>(shape.components)});
    encoder.interleave_mode(static_cast<charls::interleave_mode>(shape.interleave));
    std::vector<std::byte> stream(3 * image.size() + 4096);
    encoder.destination(stream.data(), stream.size());
    stream.resize(encoder.encode(image.data(), image.size()));
    return stream;
}

std::vector<std::byte> decodedByCharls(std::span<const std::byte> stream)
try {
    charls::jpegls_decoder decoder(stream.data(), stream.size());
    std::vector<std::byte> image(decoder.destination_size());
    decoder.decode(image.data(), image.size());
    return image;
} catch (const charls::jpegls_error &) {
    return {};
}

} // namespace gateway::dicom_helper::jpeg_ls::testing
