#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace gateway::dicom_helper::jpeg_ls {

/// Puts code words into bytes, with a zero bit after each byte of all ones (ISO/IEC 14495-1 A.1).
///
/// Eight bytes are stored at once, of which the next call overwrites those that weren't full; only where one
/// of them is 0xFF does it go byte by byte. Thread: any, one at a time. The room that it writes to has 8
/// bytes more than the code takes.
class BitWriter
{
public:
    /// The longest that `put` takes.
    static constexpr unsigned kLongest = 57;

    void writeTo(std::uint8_t *to) { m_state.to = to; }

    std::uint8_t *end() const { return m_state.to; }

    /// \param value  below 2^length
    /// \param length  1 to kLongest
    [[gnu::always_inline]] void put(std::uint64_t value, unsigned length)
    {
        m_state.bits = m_state.bits << length | value;
        m_state.count += length;
        const std::uint64_t word = m_state.bits << (64U - m_state.count);
        if (hasFullByte(word)) [[unlikely]] {
            m_state = bytesWritten(m_state);
            return;
        }
        storeBigEndian(word);
        m_state.to += m_state.count / 8;
        m_state.count %= 8;
    }

    /// The last bits and zeros up to a whole byte.
    void finish()
    {
        if (m_state.count > 0) {
            *m_state.to++ = static_cast<std::uint8_t>(m_state.bits << (8U - m_state.count));
            m_state.count = 0;
        }
    }

private:
    struct State
    {
        std::uint8_t *to = nullptr;
        std::uint64_t bits = 0; // the lowest `count` of them wait
        unsigned count = 0;     // fewer than 8 between calls
    };

    [[gnu::always_inline]] static bool hasFullByte(std::uint64_t word)
    {
        return ((~word - 0x0101010101010101U) & word & 0x8080808080808080U) != 0;
    }

    [[gnu::always_inline]] void storeBigEndian(std::uint64_t word)
    {
        if constexpr (std::endian::native == std::endian::little) {
            word = __builtin_bswap64(word);
        }
        std::memcpy(m_state.to, &word, sizeof word);
    }

    /// By value, so that the state of the common way stays in registers.
    [[gnu::noinline]] static State bytesWritten(State state)
    {
        while (state.count >= 8) {
            state.count -= 8;
            const auto byte = static_cast<std::uint8_t>(state.bits >> state.count);
            *state.to++ = byte;
            if (byte == 0xFF) {
                state.bits &= (std::uint64_t{1} << state.count) - 1;
                ++state.count;
            }
        }
        return state;
    }

    State m_state;
};

} // namespace gateway::dicom_helper::jpeg_ls
