#pragma once

#include "dicom_helper/worker/frame_codec.h"
#include "dicom_helper/worker/object_header.h"

#include <optional>
#include <span>
#include <vector>

namespace gateway::dicom_helper::worker {

/// Native pixel data (PS3.5 8.1.1) that JPEG-LS can carry exactly. Thread: a plain value.
struct PixelLayout
{
    FrameShape shape; ///< with a precision of all allocated bits
    unsigned bitsStored = 0;
    bool highBitIsTop = true; ///< High Bit is Bits Stored minus one
    bool planes = false;      ///< colour by plane in the source
    bool swapWords = false;   ///< words of 16 bits in big endian order
    std::uint64_t frames = 1;
    std::uint64_t offset = 0; ///< of the first frame in the source's dataset

    std::uint64_t bytes() const { return shape.bytes() * frames; }

    /// The precision to encode with, when the samples use the bits of `used`: that of Bits Stored where
    /// nothing else is set, so that readers meet what the header says; all bits otherwise, so that sign
    /// extension and overlays outside Bits Stored survive.
    unsigned precisionFor(unsigned used) const;
};

/// Nothing when the object has no pixel data of the kinds that PS3.5 table 8.2.3-1 allows.
std::optional<PixelLayout> carriedPixels(const ObjectHeader &header);

/// Reads frames from the source in the order and form in which they are encoded.
///
/// Thread: the worker's only one. Borrows the source.
class FrameReader
{
public:
    FrameReader(ByteSource &source, const PixelLayout &layout) : m_source(source), m_layout(layout) {}

    /// Fills `frame`, of shape.bytes() bytes; ascending indices only. \return false when the source ends.
    bool read(std::uint64_t index, std::span<std::byte> frame);

private:
    void interleave(std::span<std::byte> frame);

    ByteSource &m_source;
    PixelLayout m_layout;
    std::vector<std::byte> m_planes;
};

/// All bits that any sample of `frame` has set.
unsigned usedBits(const FrameShape &shape, std::span<const std::byte> frame);

} // namespace gateway::dicom_helper::worker
