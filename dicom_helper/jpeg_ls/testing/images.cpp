#include "dicom_helper/jpeg_ls/testing/images.h"

#include <algorithm>

namespace gateway::dicom_helper::jpeg_ls::testing {

namespace {

struct Place
{
    unsigned column;
    unsigned row;
    unsigned component;
};

unsigned sampleAt(const ImageShape &shape, Pattern pattern, Place at, std::mt19937 &random)
{
    const unsigned greatest = (1U << shape.precision) - 1;
    switch (pattern) {
    case Pattern::constant:
        return greatest / 3 + at.component;
    case Pattern::ramp:
        return at.column * greatest / std::max(1U, shape.columns - 1);
    case Pattern::noise:
        return static_cast<unsigned>(random());
    case Pattern::checker:
        return (at.column + at.row) % 2 == 0 ? 0 : greatest;
    case Pattern::smooth:
        return greatest / 4 + (at.column + 2 * at.row + 5 * at.component) * greatest / 2048 +
               static_cast<unsigned>(random() % (2 + greatest / 128));
    case Pattern::flats:
        return random() % 19 == 0 ? static_cast<unsigned>(random()) : (at.row / 3 + at.column / 23) % 3;
    case Pattern::extremes:
        return random() % 2 == 0 ? 0 : greatest;
    }
    return 0;
}

} // namespace

std::vector<std::byte> image(const ImageShape &shape, Pattern pattern, std::mt19937 &random)
{
    std::vector<std::byte> bytes;
    bytes.reserve(shape.bytes());
    for (unsigned row = 0; row < shape.rows; ++row) {
        for (unsigned i = 0; i < shape.columns * shape.components; ++i) {
            const Place at{i / shape.components, row, i % shape.components};
            const unsigned sample = sampleAt(shape, pattern, at, random) & ((1U << shape.precision) - 1);
            bytes.push_back(static_cast<std::byte>(sample & 0xFFU));
            if (shape.bytesPerSample() == 2) {
                bytes.push_back(static_cast<std::byte>(sample >> 8U));
            }
        }
    }
    return bytes;
}

} // namespace gateway::dicom_helper::jpeg_ls::testing
