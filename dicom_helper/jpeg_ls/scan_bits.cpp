#include "dicom_helper/jpeg_ls/scan_bits.h"

namespace gateway::dicom_helper::jpeg_ls {

namespace {

/// The room behind the last bit.
constexpr std::size_t kBehind = 32;

std::uint64_t bigEndian(const void *from)
{
    std::uint64_t word = 0;
    std::memcpy(&word, from, sizeof word);
    return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

/// True when no byte is 0xFF: adding one to each then carries out of none of them.
bool isPlain(std::uint64_t word)
{
    constexpr std::uint64_t kLow = 0x7F7F7F7F7F7F7F7FU;
    const std::uint64_t lowFull = (word & kLow) + 0x0101010101010101U;
    return (lowFull & word & ~kLow) == 0;
}

} // namespace

std::optional<std::size_t> ScanBits::take(std::span<const std::byte> bytes)
{
    m_bytes.assign(bytes.size() + kBehind, 0);
    m_end = 0;
    std::size_t i = 0;
    while (i < bytes.size()) {
        if (i + 8 <= bytes.size()) {
            const std::uint64_t word = bigEndian(bytes.data() + i);
            if (isPlain(word)) {
                add(word, 64);
                i += 8;
                continue;
            }
        }
        const auto byte = std::to_integer<std::uint64_t>(bytes[i]);
        const auto second = i + 1 < bytes.size() ? std::to_integer<std::uint64_t>(bytes[i + 1]) : 0;
        if (byte != 0xFF) {
            add(byte << 56U, 8);
            i += 1;
        } else if (second < 0x80) {
            add(byte << 56U | second << 49U, 15);
            i += 2;
        } else {
            return i;
        }
    }
    return std::nullopt;
}

/// \param bits  the highest `count` count, the others are zeros
void ScanBits::add(std::uint64_t bits, unsigned count)
{
    std::uint8_t *const to = m_bytes.data() + m_end / 8;
    const auto used = static_cast<unsigned>(m_end % 8);
    const std::uint64_t word = bigEndian(to) | bits >> used;
    const std::uint64_t stored = bigEndian(&word);
    std::memcpy(to, &stored, sizeof stored);
    to[8] = static_cast<std::uint8_t>(bits << (8 - used));
    m_end += count;
}

} // namespace gateway::dicom_helper::jpeg_ls
