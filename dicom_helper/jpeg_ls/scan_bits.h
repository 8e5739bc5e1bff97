#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace gateway::dicom_helper::jpeg_ls {

/// A place in the bits of a scan, which are read from the left. A value, so that loops can keep it in
/// registers.
struct BitCursor
{
    /// The next bits from the highest down: 57 at least, zeros behind the last. Only while !isOverrun().
    [[gnu::always_inline]] std::uint64_t next() const { return nextBehind(0); }

    /// The same, so many bits further on.
    [[gnu::always_inline]] std::uint64_t nextBehind(unsigned skipped) const
    {
        const std::size_t from = at + skipped;
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + from / 8, sizeof word);
        if constexpr (std::endian::native == std::endian::little) {
            word = __builtin_bswap64(word);
        }
        return word << (from % 8);
    }

    [[gnu::always_inline]] void skip(unsigned count) { at += count; }

    /// True when more bits were skipped than there are.
    [[gnu::always_inline]] bool isOverrun() const { return at > end; }

    /// True when what is left are the zeros that fill the last byte.
    bool isAtPadding() const { return at <= end && end - at < 8 && next() == 0; }

    const std::uint8_t *bytes = nullptr;
    std::size_t at = 0; // in bits, as is the next
    std::size_t end = 0;
};

/// The bits of a scan without the stuffed ones. Thread: any, one at a time.
class ScanBits
{
public:
    /// Takes the scan at the beginning of `bytes`.
    ///
    /// \return how many bytes it has up to its marker; nothing where there is no marker.
    std::optional<std::size_t> take(std::span<const std::byte> bytes);

    /// At the first bit; until the next `take`.
    BitCursor cursor() const { return {m_bytes.data(), 0, m_end}; }

private:
    void add(std::uint64_t bits, unsigned count);

    std::vector<std::uint8_t> m_bytes; // as many zeros behind the last bit as a cursor may touch
    std::size_t m_end = 0;
};

} // namespace gateway::dicom_helper::jpeg_ls
