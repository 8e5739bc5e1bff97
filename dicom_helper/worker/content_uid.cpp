#include "dicom_helper/worker/content_uid.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace gateway::dicom_helper::worker {

namespace {

/// Two multiplicative hashes over 8 bytes at a time, with odd factors of good spread: 128 bits against
/// chance, not against intent, since a sender can only confuse its own nameless objects.
class Digest
{
public:
    /// Takes the bytes of a file from an offset to its end, eight at a time, the first one highest.
    void addFile(ByteSource &file, std::uint64_t offset)
    {
        std::vector<std::byte> piece(std::size_t{64} * 1024);
        std::uint64_t size = 0;
        for (std::size_t got = file.read(offset, piece); got > 0; got = file.read(offset + size, piece)) {
            std::size_t at = 0;
            for (; at + 8 <= got; at += 8) {
                std::uint64_t word = 0;
                std::memcpy(&word, &piece[at], 8);
                add(std::endian::native == std::endian::little ? __builtin_bswap64(word) : word);
            }
            if (at < got) {
                std::uint64_t word = 0;
                for (; at < got; ++at) {
                    word = (word << 8U) | std::to_integer<std::uint64_t>(piece[at]);
                }
                add(word);
            }
            size += got;
        }
        add(size);
    }

    void addText(std::string_view text)
    {
        for (const char character : text) {
            add(static_cast<unsigned char>(character));
        }
    }

    /// 63 of the bits, never 0.
    std::int64_t number() const
    {
        return std::max<std::int64_t>(1, static_cast<std::int64_t>((m_first ^ (m_second << 1U)) >> 1U));
    }

    /// The 128 bits as a decimal number.
    std::string decimal() const
    {
        std::uint64_t high = m_first;
        std::uint64_t low = m_second;
        std::string digits;
        while (high != 0 || low != 0) {
            unsigned remainder = 0;
            high = divided(high, remainder);
            low = divided(low, remainder);
            digits.push_back(static_cast<char>('0' + remainder));
        }
        std::ranges::reverse(digits);
        return digits.empty() ? "0" : digits;
    }

private:
    void add(std::uint64_t word)
    {
        m_first = mixed((m_first ^ word) * 0x9E3779B97F4A7C15U);
        m_second = mixed((m_second + word) * 0xD6E8FEB86659FD93U);
    }

    static std::uint64_t mixed(std::uint64_t value) { return value ^ (value >> 29U) ^ (value >> 47U); }

    /// One limb of a long division by ten; carries the remainder on to the next.
    static std::uint64_t divided(std::uint64_t limb, unsigned &remainder)
    {
        std::uint64_t quotient = 0;
        for (unsigned shift = 64; shift > 0; shift -= 4) {
            const unsigned part = remainder * 16 + static_cast<unsigned>((limb >> (shift - 4)) & 0xFU);
            quotient = (quotient << 4U) | (part / 10);
            remainder = part % 10;
        }
        return quotient;
    }

    std::uint64_t m_first = 0x243F6A8885A308D3U;
    std::uint64_t m_second = 0x13198A2E03707344U;
};

} // namespace

std::string contentUid(ByteSource &file)
{
    Digest digest;
    digest.addFile(file, 0);
    return "2.25." + digest.decimal();
}

std::int64_t contentVersion(ByteSource &file, std::uint64_t offset, std::string_view transferSyntax)
{
    Digest digest;
    digest.addText(transferSyntax);
    digest.addFile(file, offset);
    return digest.number();
}

} // namespace gateway::dicom_helper::worker
