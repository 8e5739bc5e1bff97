#include "dicom_helper/worker/content_uid.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace gateway::dicom_helper::worker {

namespace {

constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15U;

std::uint64_t mixed(std::uint64_t value)
{
    return value ^ (value >> 29U) ^ (value >> 47U);
}

/// Eight bytes as a number, the first one highest.
std::uint64_t wordAt(const std::byte *bytes)
{
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

/// Gives the bytes of a file from an offset to its end, in pieces that are a multiple of 32 bytes long but
/// for the last. \return how many bytes there were.
template <typename Take>
std::uint64_t readThrough(ByteSource &file, std::uint64_t offset, Take take)
{
    std::vector<std::byte> piece(std::size_t{64} * 1024);
    std::uint64_t size = 0;
    for (std::size_t got = file.read(offset, piece); got > 0; got = file.read(offset + size, piece)) {
        take(std::span<const std::byte>(piece).first(got));
        size += got;
    }
    return size;
}

/// Two multiplicative hashes over 8 bytes at a time, with odd factors of good spread: 128 bits against
/// chance, not against intent, since a sender can only confuse its own nameless objects.
class Digest
{
public:
    /// Takes the bytes of a file from an offset to its end, eight at a time, the first one highest.
    void addFile(ByteSource &file, std::uint64_t offset)
    {
        add(readThrough(file, offset, [this](std::span<const std::byte> piece) { addBytes(piece); }));
    }

    void addBytes(std::span<const std::byte> bytes)
    {
        for (; bytes.size() >= sizeof(std::uint64_t); bytes = bytes.subspan(sizeof(std::uint64_t))) {
            add(wordAt(bytes.data()));
        }
        if (!bytes.empty()) {
            std::uint64_t word = 0;
            for (const std::byte byte : bytes) {
                word = (word << 8U) | std::to_integer<std::uint64_t>(byte);
            }
            add(word);
        }
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

    void add(std::uint64_t word)
    {
        m_first = mixed((m_first ^ word) * kFactor);
        m_second = mixed((m_second + word) * 0xD6E8FEB86659FD93U);
    }

private:
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

/// Adds the bytes of a file from an offset to its end, by four hashes that each take every fourth word: the
/// processor computes them side by side, where a single one would wait for itself. All files that go up are
/// read like that.
void addFileInLanes(Digest &digest, ByteSource &file, std::uint64_t offset)
{
    constexpr std::size_t kLanes = 4;
    constexpr std::size_t kBlock = kLanes * sizeof(std::uint64_t);
    std::array<std::uint64_t, kLanes> lanes{1, 2, 3, 4};
    const std::uint64_t size = readThrough(file, offset, [&](std::span<const std::byte> piece) {
        std::array<std::uint64_t, kLanes> now = lanes;
        for (; piece.size() >= kBlock; piece = piece.subspan(kBlock)) {
            for (std::size_t lane = 0; lane < kLanes; ++lane) {
                now[lane] =
                    mixed((now[lane] ^ wordAt(piece.data() + lane * sizeof(std::uint64_t))) * kFactor);
            }
        }
        lanes = now;
        digest.addBytes(piece);
    });
    for (const std::uint64_t lane : lanes) {
        digest.add(lane);
    }
    digest.add(size);
}

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
    addFileInLanes(digest, file, offset);
    return digest.number();
}

} // namespace gateway::dicom_helper::worker
