#pragma once

#include "dicom_helper/jpeg_ls/coding_parameters.h"
#include "dicom_helper/jpeg_ls/neighbourhood.h"

#include <array>

namespace gateway::dicom_helper::jpeg_ls {

/// The variables of one context of the regular mode (ISO/IEC 14495-1 A.2.1), in 8 bytes.
struct Context
{
    std::int32_t A; ///< sum of the errors' magnitudes
    std::int8_t B;  ///< sum of the errors, in (-N, 0]
    std::uint8_t C; ///< what corrects the prediction, plus kBiasOfC
    std::uint8_t N; ///< how often it was met since it was halved
};

/// The variables of one of the two contexts of an interrupted run.
struct RunContext
{
    int A;
    int N;
    int Nn; ///< how many errors were negative
};

/// The state that a scan carries from sample to sample.
struct ScanContexts
{
    explicit ScanContexts(const CodingParameters &parameters)
    {
        regular.fill({parameters.initialA, 0, kBiasOfC, 1});
        interrupted.fill({parameters.initialA, 1, 0});
    }

    std::array<Context, 365> regular{};
    std::array<RunContext, 2> interrupted{}; ///< by RItype, A.7.2
    std::array<unsigned, 3> RUNindex{};      ///< one a component; the first where samples are interleaved
};

/// A.6: the context after an error. No branch but one depends on the image.
[[gnu::always_inline]] inline void update(Context &context, int Errval)
{
    int A = context.A + (Errval < 0 ? -Errval : Errval);
    int B = context.B + Errval;
    int N = context.N;
    if (N == RESET) {
        A >>= 1;
        B >>= 1;
        N >>= 1;
    }
    ++N;
    const int isLow = (B + N - 1) >> 31; // all ones where B <= -N
    const int isHigh = -B >> 31;         // all ones where B > 0
    B += (N & isLow) - (N & isHigh);
    B = B < 1 - N ? 1 - N : B;
    B = B > 0 ? 0 : B;
    int C = context.C + isLow - isHigh;
    if (C < 0 || C > 255) [[unlikely]] {
        C = C < 0 ? 0 : 255;
    }
    context = {A, static_cast<std::int8_t>(B), static_cast<std::uint8_t>(C), static_cast<std::uint8_t>(N)};
}

} // namespace gateway::dicom_helper::jpeg_ls
