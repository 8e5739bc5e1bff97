#pragma once

#include "dicom_helper/jpeg_ls/coded_samples.h"
#include "dicom_helper/jpeg_ls/coding_parameters.h"
#include "dicom_helper/jpeg_ls/neighbourhood.h"

#include <array>

namespace gateway::dicom_helper::jpeg_ls {

/// The variables of one context of the regular mode (ISO/IEC 14495-1 A.2.1).
struct Context
{
    std::int32_t A; ///< sum of the errors' magnitudes
    std::int32_t B; ///< sum of the errors, in (-N, 0]
    std::int32_t C; ///< what corrects the prediction, plus kBiasOfC
    std::int32_t N; ///< how often it was met since it was halved
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

    std::array<Context, kContexts> regular{};
    std::array<RunContext, 2> interrupted{}; ///< by RItype, A.7.2
    std::array<unsigned, 3> RUNindex{};      ///< one a component; the first where samples are interleaved
};

} // namespace gateway::dicom_helper::jpeg_ls
