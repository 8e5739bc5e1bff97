#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace gateway::dicom_helper::jpeg_ls {

/// ILV of ISO/IEC 14495-1 C.2.3: how the components of a colour image share their scan.
enum class Interleave : std::uint8_t
{
    none = 0,
    line = 1,
    sample = 2,
};

/// What is coded: rows of columns of samples without gaps, a pixel's samples side by side whatever the
/// interleave; a sample of more than 8 bits takes two bytes in little endian order. Thread: a plain value.
struct ImageShape
{
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    unsigned components = 1;
    unsigned precision = 8; ///< P, bits a sample
    Interleave interleave = Interleave::none;

    unsigned bytesPerSample() const { return precision > 8 ? 2 : 1; }

    std::size_t bytes() const { return std::size_t{columns} * rows * components * bytesPerSample(); }

    /// True for what is coded here: 2 to 16 bits, one component, or three that are interleaved.
    bool isCodable() const
    {
        const bool grey = components == 1 && interleave == Interleave::none;
        const bool colour = components == 3 && interleave != Interleave::none;
        return columns >= 1 && columns <= 0xFFFF && rows >= 1 && rows <= 0xFFFF && precision >= 2 &&
               precision <= 16 && (grey || colour);
    }
};

/// The image isn't of its shape, or its shape can't be coded.
class ImageError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

} // namespace gateway::dicom_helper::jpeg_ls
