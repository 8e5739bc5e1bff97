#pragma once

#include <cstdint>

namespace gateway::dicom_helper::jpeg_ls {

/// A code word: the lowest bits of `value`, after as many zeros as `length` asks for.
struct CodeWord
{
    /// Where the length stands in a packed word; the value, of 17 bits at most, is below it.
    static constexpr unsigned kLengthAt = 24;

    std::uint32_t value;
    std::uint32_t length; ///< 1 to 64

    std::uint32_t packed() const { return length << kLengthAt | value; }

    [[gnu::always_inline]] static CodeWord unpacked(std::uint32_t word)
    {
        return {word & ((std::uint32_t{1} << kLengthAt) - 1), word >> kLengthAt};
    }
};

/// A.5.3: the Golomb code of a mapped error, cut off at so many bits.
inline CodeWord golomb(std::uint32_t mapped, unsigned k, unsigned longest, unsigned qbpp)
{
    const std::uint32_t high = mapped >> k;
    if (high < longest - qbpp - 1) {
        const std::uint32_t marker = std::uint32_t{1} << k;
        return {marker | (mapped & (marker - 1)), high + 1 + k};
    }
    return {std::uint32_t{1} << qbpp | (mapped - 1), longest};
}

} // namespace gateway::dicom_helper::jpeg_ls
