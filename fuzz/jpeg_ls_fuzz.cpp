#include "dicom_helper/jpeg_ls/checker.h"
#include "dicom_helper/jpeg_ls/encoder.h"
#include "dicom_helper/jpeg_ls/testing/peers.h"

#include <algorithm>
#include <cstdlib>

namespace {

using namespace gateway::dicom_helper::jpeg_ls;
using Bytes = std::vector<std::byte>;

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// What of the input changes a stream, behind what makes the image.
constexpr std::size_t kChanges = 12;

ImageShape shapeOf(unsigned kind, unsigned columns, std::size_t bytes)
{
    ImageShape shape{.columns = 1 + columns % 80, .rows = 1, .precision = 2 + kind % 15};
    if (kind >= 85) {
        shape.components = 3;
        shape.interleave = kind >= 170 ? Interleave::sample : Interleave::line;
    }
    shape.rows =
        static_cast<std::uint32_t>(std::clamp(bytes / shape.bytes(), std::size_t{1}, std::size_t{300}));
    return shape;
}

/// As many samples as the shape has, cut to its precision; those that the input lacks are 0.
Bytes imageOf(const ImageShape &shape, std::span<const std::byte> from)
{
    Bytes image(shape.bytes());
    std::copy_n(from.begin(), std::min(from.size(), image.size()), image.begin());
    const unsigned width = shape.bytesPerSample();
    const auto mask = static_cast<std::byte>((1U << (shape.precision - 8 * (width - 1))) - 1);
    for (std::size_t i = width - 1; i < image.size(); i += width) {
        image[i] &= mask;
    }
    return image;
}

Bytes encoded(Instructions instructions, const ImageShape &shape, const Bytes &image)
{
    Bytes stream(image.size() * 20 + 200);
    const auto size = Encoder(instructions).encode(shape, image, stream);
    require(size.has_value());
    stream.resize(*size);
    return stream;
}

} // namespace

/// Two bytes of shape, twelve of changes, an image. The encoder's forms and CharLS must agree about the
/// image; and a stream that was changed must be refused, or decode to the image all the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 2 + kChanges) {
        return 0;
    }
    const std::span<const std::byte> input(reinterpret_cast<const std::byte *>(data), size);
    const std::span<const std::byte> pixels = input.subspan(2 + kChanges);
    const ImageShape shape = shapeOf(data[0], data[1], pixels.size());
    const Bytes image = imageOf(shape, pixels);

    Bytes stream = encoded(Instructions::baseline, shape, image);
    require(encoded(bestInstructions(), shape, image) == stream);
    require(testing::encodedByCharls(shape, image) == stream);
    require(testing::decodedByCharls(stream) == image);
    Checker checker;
    Checker baseline(Instructions::baseline);
    require(checker.carries(shape, image, stream));
    require(baseline.carries(shape, image, stream));

    for (std::size_t i = 2; i + 2 < 2 + kChanges; i += 3) {
        stream[(data[i] * 256U + data[i + 1]) % stream.size()] ^= input[i + 2];
    }
    const bool isCarried = checker.carries(shape, image, stream);
    require(baseline.carries(shape, image, stream) == isCarried);
    if (isCarried) {
        require(testing::decodedByCharls(stream) == image);
    }
    // And what was never a stream.
    checker.carries(shape, image, pixels);
    return 0;
}
