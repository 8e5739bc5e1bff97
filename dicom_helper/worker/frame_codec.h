#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>

namespace gateway::dicom_helper::worker {

/// One frame of pixels: rows of columns of samples, without gaps, a pixel's samples side by side.
struct FrameShape
{
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    unsigned samples = 1;        ///< a pixel: 1 or 3
    unsigned bytesPerSample = 1; ///< 1, or 2 in little endian order
    unsigned precision = 8;      ///< bits that are coded; above 8 exactly where bytesPerSample is 2

    std::size_t bytes() const { return std::size_t{columns} * rows * samples * bytesPerSample; }
    bool operator==(const FrameShape &) const = default;
};

/// The codec can't do this frame.
class CodecError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// A lossless codec of single frames. Thread: the worker's only one.
class FrameCodec
{
public:
    virtual ~FrameCodec() = default;

    /// Encodes `frame`, of shape.bytes() bytes, into `encoded`.
    ///
    /// \return how many bytes were written; nothing when there was no room for them. \throws CodecError
    virtual std::optional<std::size_t>
    encode(const FrameShape &shape, std::span<const std::byte> frame, std::span<std::byte> encoded) = 0;

    /// True when `fragment`, as it was read back from a file, decodes to `frame` and to nothing else.
    virtual bool carries(const FrameShape &shape,
                         std::span<const std::byte> frame,
                         std::span<const std::byte> fragment) = 0;
};

} // namespace gateway::dicom_helper::worker
