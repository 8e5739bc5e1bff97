#pragma once

#include "dicom_helper/jpeg_ls/coding_parameters.h"
#include "dicom_helper/jpeg_ls/line_buffers.h"
#include "dicom_helper/jpeg_ls/vectors.h"

namespace gateway::dicom_helper::jpeg_ls {

/// C of a context is kept with this added, so that it is a byte (A.6.2: from -128 to 127).
constexpr int kBiasOfC = 128;

/// Gradients, contexts and median prediction of many samples at once.
template <int Bytes>
class Neighbourhood
{
    using I16 = typename Vectors<Bytes>::I16;
    using U16 = typename Vectors<Bytes>::U16;

public:
    static constexpr std::size_t kWidth = Bytes / sizeof(std::int16_t);

    [[gnu::always_inline]] explicit Neighbourhood(const CodingParameters &parameters)
        : m_wide(parameters.qbpp == 16), m_zero(m_wide ? INT16_MIN : 0),
          m_MAXVAL(m_wide ? INT16_MAX : parameters.MAXVAL), m_T1(static_cast<std::int16_t>(parameters.T1)),
          m_T2(static_cast<std::int16_t>(parameters.T2)), m_T3(static_cast<std::int16_t>(parameters.T3))
    {
    }

    [[gnu::always_inline]] void analyse(ComponentLines &lines, std::size_t width, LineAnalysis &to) const
    {
        if (m_wide) {
            analyseAll<true>(lines, width, to);
        } else {
            analyseAll<false>(lines, width, to);
        }
        // Behind the last sample of the next line's Rb stands itself again as Rd.
        lines.newGradients.data()[width] = 0;
    }

private:
    template <bool Wide>
    [[gnu::always_inline]] void analyseAll(ComponentLines &lines, std::size_t width, LineAnalysis &to) const
    {
        for (std::size_t i = 0; i < width; i += kWidth) {
            analyseSome<Wide>(lines, i, to);
        }
    }

    template <bool Wide>
    [[gnu::always_inline]] void analyseSome(ComponentLines &lines, std::size_t i, LineAnalysis &to) const
    {
        const auto Ix = loaded<I16>(lines.current.data() + i);
        const auto Ra = loaded<I16>(lines.current.data() + i - 1);
        const auto Rb = loaded<I16>(lines.previous.data() + i);
        const auto Rc = loaded<I16>(lines.previous.data() + i - 1);
        // A.3.3: Q1 of Rd - Rb and Q2 of Rb - Rc were the previous line's.
        const auto Q1 = loaded<I16>(lines.gradients.data() + i + 1);
        const auto Q2 = loaded<I16>(lines.gradients.data() + i);
        const I16 Q3 = quantised(difference<Wide>(Rc, Ra));
        stored(lines.newGradients.data() + i, quantised(difference<Wide>(Ix, Ra)));

        const I16 Q = (Q1 * 9 + Q2) * 9 + Q3;
        const I16 isNegative = Q < 0;
        stored(to.contexts + i, Q < 0 ? -Q : Q);
        const I16 Px = median(Ra, Rb, Rc);
        const I16 residual = wrapped(Ix, Px);
        const I16 towards = plus((residual ^ isNegative), I16(kBiasOfC - isNegative));
        storePairs(to.samples + i, towards, limits(Px, isNegative));
    }

    /// a - b, which stays between -INT16_MAX and INT16_MAX, far beyond every threshold.
    template <bool Wide>
    [[gnu::always_inline]] static I16 difference(I16 a, I16 b)
    {
        const I16 simple = wrapped(a, b);
        if constexpr (Wide) {
            const I16 overflows = ((a ^ b) & (a ^ simple)) < 0;
            const I16 end = a < 0 ? I16{} - INT16_MAX : I16{} + INT16_MAX;
            return overflows ? end : (simple < -INT16_MAX ? I16{} - INT16_MAX : simple);
        }
        return simple;
    }

    /// A.3.3
    [[gnu::always_inline]] I16 quantised(I16 gradient) const
    {
        const I16 isNegative = gradient < 0;
        const I16 magnitude = gradient < 0 ? -gradient : gradient;
        const I16 level =
            -((magnitude > 0) + (magnitude >= m_T1) + (magnitude >= m_T2) + (magnitude >= m_T3));
        return (level ^ isNegative) - isNegative;
    }

    /// A.4.1: Rc kept between the two others leaves the right one of the three cases in the sum.
    [[gnu::always_inline]] static I16 median(I16 Ra, I16 Rb, I16 Rc)
    {
        const I16 least = Ra < Rb ? Ra : Rb;
        const I16 greatest = Ra < Rb ? Rb : Ra;
        const I16 above = Rc < least ? least : Rc;
        const I16 between = above > greatest ? greatest : above;
        return wrapped(plus(least, greatest), between);
    }

    /// A.4.2: how far the prediction may be moved down and up, where SIGN is as `isNegative` says.
    [[gnu::always_inline]] I16 limits(I16 Px, I16 isNegative) const
    {
        const auto zero = static_cast<std::int16_t>(m_zero);
        const I16 mirrored = static_cast<std::int16_t>(m_MAXVAL + m_zero) - Px;
        const I16 below = isNegative ? mirrored : Px;
        const I16 above = isNegative ? Px : mirrored;
        const auto farBelow = static_cast<std::int16_t>(m_zero + 128);
        const auto farAbove = static_cast<std::int16_t>(m_zero + 127);
        const I16 down = (below < farBelow ? below : I16{} + farBelow) - zero;
        const I16 up = (above < farAbove ? above : I16{} + farAbove) - zero;
        return (kBiasOfC - down) | ((kBiasOfC + up) << 8);
    }

    /// One of each in each word, `low` in the lower half.
    [[gnu::always_inline]] static void storePairs(std::uint32_t *to, I16 low, I16 high)
    {
        using U32 = typename Vectors<Bytes>::U32;
        using Half = typename Vectors<Bytes>::HalfU16;
        constexpr std::size_t kHalf = kWidth / 2;
        for (std::size_t half = 0; half < 2; ++half) {
            Half lows;
            Half highs;
            std::memcpy(&lows, reinterpret_cast<const char *>(&low) + half * sizeof lows, sizeof lows);
            std::memcpy(&highs, reinterpret_cast<const char *>(&high) + half * sizeof highs, sizeof highs);
            stored(to + half * kHalf,
                   __builtin_convertvector(lows, U32) | __builtin_convertvector(highs, U32) << 16);
        }
    }

    [[gnu::always_inline]] static I16 wrapped(I16 a, I16 b) { return I16(U16(a) - U16(b)); }

    [[gnu::always_inline]] static I16 plus(I16 a, I16 b) { return I16(U16(a) + U16(b)); }

    bool m_wide;
    int m_zero;   // how the buffers hold a sample of 0
    int m_MAXVAL; // how they hold MAXVAL
    std::int16_t m_T1;
    std::int16_t m_T2;
    std::int16_t m_T3;
};

} // namespace gateway::dicom_helper::jpeg_ls
