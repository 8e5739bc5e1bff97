#include "dicom_helper/worker/pixel_layout.h"

#include "dicom_helper/worker/attributes.h"

#include <algorithm>
#include <cstring>

namespace gateway::dicom_helper::worker {

namespace {

/// A frame and two copies of its coded form are in memory at once.
constexpr std::size_t kLargestFrame = std::size_t{128} * 1024 * 1024;

struct Kind
{
    std::string_view photometric;
    unsigned samples;
    unsigned largestAllocation;
    bool maybeSigned;
};

/// PS3.5 table 8.2.3-1.
constexpr std::array kKinds{Kind{"MONOCHROME1", 1, 16, true},
                            Kind{"MONOCHROME2", 1, 16, true},
                            Kind{"PALETTE COLOR", 1, 16, false},
                            Kind{"RGB", 3, 16, false},
                            Kind{"YBR_FULL", 3, 8, false}};

bool isKind(const ObjectHeader &header, const PixelLayout &layout)
{
    const auto *const kind =
        std::ranges::find(kKinds, header.word(kPhotometricInterpretation), &Kind::photometric);
    const std::uint32_t sign = header.unsignedShort(kPixelRepresentation).value_or(2);
    return kind != kKinds.end() && kind->samples == layout.shape.samples &&
           sign <= (kind->maybeSigned ? 1U : 0U) &&
           layout.shape.bytesPerSample * 8 <= kind->largestAllocation;
}

/// True when the element holds these frames and, to the even length, nothing else.
bool isExactly(const Element &pixelData, const PixelLayout &layout)
{
    return pixelData.length != kUndefinedLength && pixelData.length == layout.bytes() + layout.bytes() % 2;
}

} // namespace

unsigned PixelLayout::precisionFor(unsigned used) const
{
    // Widely used readers fail on fewer than 8 bits, where their thresholds differ from the standard's; and
    // they give two bytes back for more than 8 bits only.
    const unsigned least = shape.bytesPerSample == 1 ? 8 : 9;
    const bool plain = highBitIsTop && (used >> bitsStored) == 0;
    return plain ? std::max(bitsStored, least) : shape.bytesPerSample * 8;
}

std::optional<PixelLayout> carriedPixels(const ObjectHeader &header)
{
    const std::optional<std::uint32_t> highBit = header.unsignedShort(kHighBit);
    // Common decoders give up a compressed image without a high bit, or with pixels elsewhere besides.
    if (!header.pixelData || header.pixelData->tag != kPixelData || !highBit ||
        header.values.contains(kPixelDataProviderUrl)) {
        return std::nullopt;
    }
    const std::uint32_t allocated = header.unsignedShort(kBitsAllocated).value_or(0);
    const std::uint32_t stored = header.unsignedShort(kBitsStored).value_or(0);
    const std::uint32_t columns = header.unsignedShort(kColumns).value_or(0);
    const std::uint32_t rows = header.unsignedShort(kRows).value_or(0);
    const std::uint32_t planar = header.unsignedShort(kPlanarConfiguration).value_or(0);
    const std::int64_t frames =
        header.raw(kNumberOfFrames).empty() ? 1 : header.integerString(kNumberOfFrames).value_or(0);
    if ((allocated != 8 && allocated != 16) || stored < 2 || stored > allocated || columns == 0 ||
        columns > 0xFFFF || rows == 0 || rows > 0xFFFF || frames < 1 || frames > INT32_MAX || planar > 1) {
        return std::nullopt;
    }
    PixelLayout layout;
    layout.shape = {
        columns, rows, header.unsignedShort(kSamplesPerPixel).value_or(0), allocated / 8, allocated};
    layout.bitsStored = stored;
    layout.highBitIsTop = *highBit == stored - 1;
    layout.planes = layout.shape.samples == 3 && planar == 1;
    layout.swapWords = header.encoding.bigEndian && (allocated == 16 || header.pixelData->vr == vr('O', 'W'));
    layout.frames = static_cast<std::uint64_t>(frames);
    layout.offset = header.pixelData->valueOffset;
    const bool wordsAcrossFrames = layout.swapWords && layout.shape.bytes() % 2 != 0;
    if (!isKind(header, layout) || layout.shape.bytes() > kLargestFrame || wordsAcrossFrames ||
        !isExactly(*header.pixelData, layout)) {
        return std::nullopt;
    }
    return layout;
}

bool FrameReader::read(std::uint64_t index, std::span<std::byte> frame)
{
    if (m_source.read(m_layout.offset + index * frame.size(), frame) != frame.size()) {
        return false;
    }
    if (m_layout.swapWords) {
        for (std::size_t i = 0; i + 1 < frame.size(); i += 2) {
            std::swap(frame[i], frame[i + 1]);
        }
    }
    if (m_layout.planes) {
        interleave(frame);
    }
    return true;
}

void FrameReader::interleave(std::span<std::byte> frame)
{
    m_planes.assign(frame.begin(), frame.end());
    const std::size_t width = m_layout.shape.bytesPerSample;
    const std::size_t plane = frame.size() / m_layout.shape.samples;
    std::size_t to = 0;
    for (std::size_t pixel = 0; pixel < plane; pixel += width) {
        for (std::size_t sample = 0; sample < m_layout.shape.samples; ++sample) {
            std::memcpy(&frame[to], &m_planes[sample * plane + pixel], width);
            to += width;
        }
    }
}

unsigned usedBits(const FrameShape &shape, std::span<const std::byte> frame)
{
    std::uint64_t used = 0;
    std::size_t i = 0;
    for (; i + 8 <= frame.size(); i += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, &frame[i], 8);
        used |= word;
    }
    used |= used >> 32U;
    used |= used >> 16U;
    for (; i < frame.size(); ++i) {
        used |= std::to_integer<std::uint64_t>(frame[i]) << (shape.bytesPerSample == 2 ? 8 * (i % 2) : 0);
    }
    return shape.bytesPerSample == 2 ? static_cast<unsigned>(used & 0xFFFFU)
                                     : static_cast<unsigned>((used | (used >> 8U)) & 0xFFU);
}

} // namespace gateway::dicom_helper::worker
