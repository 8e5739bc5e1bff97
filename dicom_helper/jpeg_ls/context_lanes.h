#pragma once

#include "dicom_helper/jpeg_ls/contexts.h"
#include "dicom_helper/jpeg_ls/lane_plan.h"
#include "dicom_helper/jpeg_ls/vectors.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace gateway::dicom_helper::jpeg_ls {

/// The regular mode from the prediction's correction on (ISO/IEC 14495-1 A.4.2 to A.6), for as many contexts
/// at once as a vector has lanes. Thread: any, one at a time.
template <int Bytes>
class ContextLanes
{
    using I32 = typename Vectors<Bytes>::I32;
    using U32 = typename Vectors<Bytes>::U32;
    using F32 = typename Vectors<Bytes>::F32;

public:
    static constexpr unsigned kLanes = Bytes / sizeof(std::int32_t);

    explicit ContextLanes(const CodingParameters &parameters)
        : m_unused(32 - parameters.qbpp), m_longestHigh(parameters.LIMIT - parameters.qbpp - 2),
          m_cut((parameters.LIMIT << CodeWord::kLengthAt) + (1 << parameters.qbpp) - 1)
    {
    }

    /// Turns each sample that the plan has a step for into its packed code word.
    ///
    /// \param counts  how many samples each context has
    [[gnu::always_inline]] void code(std::array<Context, kContexts> &contexts,
                                     const ContextCounts &counts,
                                     const LanePlan<kLanes> &plan,
                                     std::uint32_t *samples)
    {
        std::array<std::size_t, kLanes> turns{};
        std::array<std::size_t, kLanes> ends{};
        std::size_t step = 0;
        const auto take = [&](std::size_t lane) {
            const std::span<const std::uint16_t> own = plan.contexts(lane);
            ends[lane] = std::numeric_limits<std::size_t>::max();
            if (turns[lane] < own.size()) {
                const std::uint16_t context = own[turns[lane]];
                ends[lane] = step + counts[context];
                m_state.take(lane, contexts[context]);
            }
        };
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            take(lane);
        }
        while (step < plan.steps()) {
            const std::size_t end = *std::ranges::min_element(ends);
            codeSteps(samples + step * kLanes, samples + end * kLanes);
            step = end;
            for (std::size_t lane = 0; lane < kLanes; ++lane) {
                if (ends[lane] == step) {
                    m_state.give(lane, contexts[plan.contexts(lane)[turns[lane]++]]);
                    take(lane);
                }
            }
        }
    }

private:
    /// The contexts that the lanes work on.
    struct State
    {
        void take(std::size_t lane, const Context &context)
        {
            A[lane] = context.A;
            B[lane] = context.B;
            C[lane] = context.C;
            N[lane] = context.N;
        }

        void give(std::size_t lane, Context &context) const
        {
            context = {A[lane], B[lane], C[lane], N[lane]};
        }

        std::array<std::int32_t, kLanes> A{};
        std::array<std::int32_t, kLanes> B{};
        std::array<std::int32_t, kLanes> C{};
        std::array<std::int32_t, kLanes> N{};
    };

    /// One sample of each lane a step. What lies in lanes that have no more is worked on for nobody.
    [[gnu::always_inline]] void codeSteps(std::uint32_t *begin, const std::uint32_t *end)
    {
        auto A = loaded<I32>(m_state.A.data());
        auto B = loaded<I32>(m_state.B.data());
        auto C = loaded<I32>(m_state.C.data());
        auto N = loaded<I32>(m_state.N.data());
        for (std::uint32_t *at = begin; at != end; at += kLanes) {
            const I32 Errval = error(loaded<I32>(at), C);
            stored(at, word(Errval, A, B, N));
            update(Errval, A, B, C, N);
        }
        stored(m_state.A.data(), A);
        stored(m_state.B.data(), B);
        stored(m_state.C.data(), C);
        stored(m_state.N.data(), N);
    }

    /// A.4.2 to A.4.5, of samples as LineAnalysis has them.
    [[gnu::always_inline]] I32 error(I32 sample, I32 C) const
    {
        const I32 least = (sample >> 16) & 0xFF;
        const auto greatest = I32(U32(sample) >> 24);
        // A RANGE that is a power of two: all above it is shifted out.
        const I32 difference = sample - larger(smaller(C, greatest), least);
        return I32(U32(difference) << static_cast<unsigned>(m_unused)) >> m_unused;
    }

    /// A.5. k is the difference of the exponents of A and N, rounded up.
    [[gnu::always_inline]] I32 word(I32 Errval, I32 A, I32 B, I32 N) const
    {
        const I32 difference = I32(__builtin_convertvector(A, F32)) - I32(__builtin_convertvector(N, F32));
        const I32 k = larger(difference + 0x7FFFFF, I32{}) >> 23;
        const I32 isReversed = (k == 0) & (B + B + N <= 0);
        const I32 mapped = (Errval + Errval) ^ (Errval >> 31) ^ (isReversed & 1);
        const I32 high = shiftedRight(mapped, k);
        // What is left of `mapped` below k bits, with the marker bit above them.
        const I32 value = mapped - ((high - 1) << k);
        const I32 plain = value + ((high + k + 1) << static_cast<int>(CodeWord::kLengthAt));
        return high > m_longestHigh ? mapped + m_cut : plain;
    }

    /// A.6
    [[gnu::always_inline]] static void update(I32 Errval, I32 &A, I32 &B, I32 &C, I32 &N)
    {
        A += Errval < 0 ? -Errval : Errval;
        B += Errval;
        const I32 isReset = N == RESET;
        A = isReset ? A >> 1 : A;
        B = isReset ? B >> 1 : B;
        N = (isReset ? N >> 1 : N) + 1;
        const I32 isLow = B + N < 1; // all ones where B <= -N
        const I32 isHigh = B > 0;
        B = B + (N & isLow) - (N & isHigh);
        B = smaller(larger(B, 1 - N), I32{});
        C = smaller(larger(C + isLow - isHigh, I32{}), I32{} + 255);
    }

    [[gnu::always_inline]] static I32 smaller(I32 a, I32 b) { return a < b ? a : b; }

    [[gnu::always_inline]] static I32 larger(I32 a, I32 b) { return a < b ? b : a; }

    [[gnu::always_inline]] static I32 shiftedRight(I32 value, I32 by)
    {
        if constexpr (Bytes == 32) {
            return I32(U32(value) >> U32(by));
        } else {
            // By a product with a power of two, where shifts by lane are missing. Exact below 2^24.
            const auto factor = F32((127 - by) << 23);
            return __builtin_convertvector(__builtin_convertvector(value, F32) * factor, I32);
        }
    }

    State m_state;
    int m_unused;      // bits of an int above those of an error
    int m_longestHigh; // what is mapped to more zeros is cut off
    int m_cut;         // makes a cut off code word of a mapped error
};

} // namespace gateway::dicom_helper::jpeg_ls
