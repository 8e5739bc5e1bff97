#pragma once

#include "dicom_helper/jpeg_ls/bit_writer.h"
#include "dicom_helper/jpeg_ls/contexts.h"
#include "dicom_helper/jpeg_ls/vectors.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <memory>
#include <vector>

namespace gateway::dicom_helper::jpeg_ls {

/// A code word: the lowest bits of `value`, after as many zeros as `length` asks for.
struct CodeWord
{
    std::uint32_t value;
    std::uint32_t length; ///< 1 to 64
};

/// A.5.3: the Golomb code of a mapped error, cut off at so many bits.
[[gnu::always_inline]] inline CodeWord
golomb(std::uint32_t mapped, unsigned k, unsigned longest, unsigned qbpp)
{
    const std::uint32_t high = mapped >> k;
    if (high < longest - qbpp - 1) [[likely]] {
        const std::uint32_t marker = std::uint32_t{1} << k;
        return {marker | (mapped & (marker - 1)), high + 1 + k};
    }
    return {std::uint32_t{1} << qbpp | (mapped - 1), longest};
}

/// The code words of one line, in two steps: while the contexts change, only the error and what its context
/// was are noted; the words are computed when the line is through, many at once.
class CodeQueue
{
public:
    void prepare(std::size_t width, const CodingParameters &parameters)
    {
        // At worst each sample is an interrupted run of none: two words.
        const std::size_t room = 2 * width + 64;
        m_values.resize(room);
        m_lengths.resize(room);
        m_plain.clear();
        m_plain.reserve(room);
        m_longest = static_cast<unsigned>(parameters.LIMIT);
        m_qbpp = static_cast<unsigned>(parameters.qbpp);
    }

    /// How many bytes the words of a line take at most, with stuffed bits and what BitWriter asks for.
    std::size_t mostBytes() const { return m_values.size() * 9 + 16; }

    /// What is noted of each word while the contexts change. Of fixed sizes as LineAnalysis is.
    struct Notes
    {
        static constexpr std::size_t kWords = 2 * 3 * kRoom;

        std::int32_t A[kWords]; ///< of the context before the error, as are B and N
        std::int16_t errors[kWords];
        std::int8_t B[kWords];
        std::uint8_t N[kWords];

        [[gnu::always_inline]] void note(std::size_t at, int Errval, const Context &context)
        {
            errors[at] = static_cast<std::int16_t>(Errval);
            A[at] = context.A;
            B[at] = context.B;
            N[at] = context.N;
        }
    };

    Notes &notes() { return *m_notes; }

    /// A word that is known already.
    void addWord(std::size_t at, CodeWord word)
    {
        m_plain.push_back({at, word});
        m_notes->note(at, 0, {1, 0, 0, 1});
    }

    /// Computes the words of the first `count` and puts them.
    template <int Bytes>
    [[gnu::always_inline]] void flush(std::size_t count, BitWriter &to)
    {
        if constexpr (Bytes == 32) {
            for (std::size_t i = 0; i < count; i += 8) {
                computeEight(i);
            }
        } else {
            for (std::size_t i = 0; i < count; ++i) {
                computeOne(i);
            }
        }
        for (const Plain &plain : m_plain) {
            m_values.data()[plain.at] = plain.word.value;
            m_lengths.data()[plain.at] = plain.word.length;
        }
        m_plain.clear();
        putAll(count, to);
    }

private:
    struct Plain
    {
        std::size_t at;
        CodeWord word;
    };

    [[gnu::always_inline]] void computeOne(std::size_t i)
    {
        const auto A = static_cast<std::uint32_t>(m_notes->A[i]);
        const std::uint32_t N = m_notes->N[i];
        auto k = static_cast<unsigned>(std::max(0, std::countl_zero(N) - std::countl_zero(A)));
        k += N << k < A ? 1U : 0U;
        const int Errval = m_notes->errors[i];
        // A.5.2: even for what isn't negative, or the reverse.
        const auto folded = static_cast<std::uint32_t>((Errval << 1) ^ (Errval >> 31));
        const bool isReversed = k == 0 && 2 * m_notes->B[i] <= -static_cast<int>(N);
        const CodeWord word = golomb(folded ^ (isReversed ? 1U : 0U), k, m_longest, m_qbpp);
        m_values.data()[i] = word.value;
        m_lengths.data()[i] = word.length;
    }

    /// The same for eight at once. k is the difference of the exponents of A and N, rounded up.
    [[gnu::always_inline]] void computeEight(std::size_t i)
    {
        using V = Vectors<32>;
        const auto A = loaded<V::I32>(m_notes->A + i);
        const auto B = __builtin_convertvector(loaded<V::SmallI8>(m_notes->B + i), V::I32);
        const auto N = __builtin_convertvector(loaded<V::SmallI8>(m_notes->N + i), V::I32);
        const auto Errval = __builtin_convertvector(loaded<V::SmallI16>(m_notes->errors + i), V::I32);
        const V::I32 difference =
            V::I32(__builtin_convertvector(A, V::F32)) - V::I32(__builtin_convertvector(N, V::F32));
        const V::I32 exponent = (difference + 0x7FFFFF) >> 23;
        const V::I32 k = exponent < 0 ? V::I32{} : exponent;
        const V::I32 isReversed = (k == 0) & (B + B + N <= 0);
        const V::I32 mapped = (Errval << 1) ^ (Errval >> 31) ^ (isReversed & 1);
        const V::I32 high = mapped >> k;
        const V::I32 marker = (V::I32{} + 1) << k;
        const V::I32 value = marker | (mapped & (marker - 1));
        const auto qbpp = static_cast<int>(m_qbpp);
        const auto longest = static_cast<int>(m_longest);
        const V::I32 isCut = high >= longest - qbpp - 1;
        stored(m_values.data() + i, isCut ? ((mapped - 1) | 1 << qbpp) : value);
        stored(m_lengths.data() + i, isCut ? V::I32{} + longest : high + k + 1);
    }

    /// Four words at once where they are short, as they nearly always are.
    [[gnu::always_inline]] void putAll(std::size_t count, BitWriter &to) const
    {
        BitWriter writer = to;
        const std::uint32_t *values = m_values.data();
        const std::uint32_t *lengths = m_lengths.data();
        std::size_t i = 0;
        for (; i + 4 <= count; i += 4) {
            const unsigned second = lengths[i + 1];
            const unsigned fourth = lengths[i + 3];
            const unsigned back = lengths[i + 2] + fourth;
            const unsigned all = lengths[i] + second + back;
            if (all > BitWriter::kLongest) [[unlikely]] {
                putEach(i, i + 4, writer);
                continue;
            }
            const std::uint64_t front = std::uint64_t{values[i]} << second | values[i + 1];
            writer.put(front << back | std::uint64_t{values[i + 2]} << fourth | values[i + 3], all);
        }
        putEach(i, count, writer);
        to = writer;
    }

    [[gnu::always_inline]] void putEach(std::size_t begin, std::size_t end, BitWriter &to) const
    {
        for (std::size_t i = begin; i < end; ++i) {
            const unsigned length = m_lengths.data()[i];
            if (length > 32) {
                to.put(0, length - 32);
            }
            to.put(m_values.data()[i], std::min(length, 32U));
        }
    }

    std::unique_ptr<Notes> m_notes = std::make_unique_for_overwrite<Notes>();
    std::vector<std::uint32_t> m_values;
    std::vector<std::uint32_t> m_lengths;
    std::vector<Plain> m_plain;
    unsigned m_longest = 0;
    unsigned m_qbpp = 0;
};

} // namespace gateway::dicom_helper::jpeg_ls
