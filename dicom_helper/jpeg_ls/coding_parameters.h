#pragma once

namespace gateway::dicom_helper::jpeg_ls {

/// How often a context is met before its sums are halved: the default of C.2.4.1.1.
constexpr int RESET = 64;

/// The encoder's parameters for NEAR = 0 and the default thresholds, under the standard's names.
struct CodingParameters
{
    explicit CodingParameters(unsigned precision);

    int MAXVAL;
    int RANGE;
    int qbpp;  ///< bits of a mapped error that is coded as it is
    int LIMIT; ///< the longest code word
    int T1;    ///< thresholds of the gradients, ISO/IEC 14495-1 C.2.4.1.1
    int T2;
    int T3;
    int initialA; ///< A.2.1
};

} // namespace gateway::dicom_helper::jpeg_ls
