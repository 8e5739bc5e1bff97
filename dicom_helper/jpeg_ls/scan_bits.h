#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace gateway::dicom_helper::jpeg_ls {

/// The bits of a scan without the stuffed ones, to be read from the left.
///
/// Thread: any, one at a time.
class ScanBits
{
public:
    /// Takes the scan at the beginning of `bytes`.
    ///
    /// \return how many bytes it has up to its marker; nothing where there is no marker.
    std::optional<std::size_t> take(std::span<const std::byte> bytes);

    /// The next bits from the highest down: 57 at least, zeros behind the last. Only while !isOverrun().
    [[gnu::always_inline]] std::uint64_t next() const
    {
        std::uint64_t word = 0;
        std::memcpy(&word, m_bytes.data() + m_at / 8, sizeof word);
        if constexpr (std::endian::native == std::endian::little) {
            word = __builtin_bswap64(word);
        }
        return word << (m_at % 8);
    }

    [[gnu::always_inline]] void skip(unsigned count) { m_at += count; }

    /// True when more bits were skipped than there are.
    [[gnu::always_inline]] bool isOverrun() const { return m_at > m_end; }

    /// True when what is left are the zeros that fill the last byte.
    bool isAtPadding() const { return m_at <= m_end && m_end - m_at < 8 && next() == 0; }

private:
    void add(std::uint64_t bits, unsigned count);

    std::vector<std::uint8_t> m_bytes; // as many zeros behind the last bit as one `next` may touch
    std::size_t m_at = 0;              // in bits, as is the next
    std::size_t m_end = 0;
};

} // namespace gateway::dicom_helper::jpeg_ls
